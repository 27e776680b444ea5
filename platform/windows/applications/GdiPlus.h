#pragma once

// GDI+'s flat functions. Its headers want the names min and max.

#include <algorithm>
#include <windows.h>

namespace Gdiplus { // NOLINT(readability-identifier-naming): the library's
using std::max;
using std::min;
} // namespace Gdiplus

#include <gdiplus.h>
