#include "platform/windows/IconExtraction.h"

#include "platform/ApplicationInventory.h"

#include <algorithm>
#include <memory>
#include <windows.h>

// GDI+'s headers want these names.
using std::max;
using std::min;
#include <gdiplus.h>
#include <shellapi.h>

namespace {

namespace Flat = Gdiplus::DllExports;

// Alive to the end of the process: GDI+ is never shut down.
bool gdiPlusStarted() {
    static const bool started = [] {
        Gdiplus::GdiplusStartupInput input;
        ULONG_PTR token = 0;
        return Gdiplus::GdiplusStartup(&token, &input, nullptr) == Gdiplus::Ok;
    }();
    return started;
}

struct DestroyIconHandle {
    using pointer = HICON;
    void operator()(HICON icon) const { DestroyIcon(icon); }
};
using IconHandle = std::unique_ptr<HICON, DestroyIconHandle>;

IconHandle shellIconOf(const std::wstring& path, UINT flags) {
    SHFILEINFOW info{};
    if (SHGetFileInfoW(path.c_str(), FILE_ATTRIBUTE_NORMAL, &info, sizeof(info), flags) == 0) {
        return nullptr;
    }
    return IconHandle(info.hIcon);
}

IconHandle iconOf(const std::wstring& path) {
    for (const int size : kIconSizes) {
        HICON icon = nullptr;
        UINT id = 0;
        const UINT count = PrivateExtractIconsW(path.c_str(), 0, size, size, &icon, &id, 1, 0);
        if (count != 0 && count != static_cast<UINT>(-1) && icon != nullptr) {
            return IconHandle(icon);
        }
    }
    HICON large = nullptr;
    HICON small = nullptr;
    ExtractIconExW(path.c_str(), 0, &large, &small, 1);
    // The value 1 says that the file is no executable.
    const auto isIcon = [](HICON icon) {
        return reinterpret_cast<ULONG_PTR>(icon) > 1;
    };
    IconHandle largeIcon(isIcon(large) ? large : nullptr);
    IconHandle smallIcon(isIcon(small) ? small : nullptr);
    if (largeIcon != nullptr) {
        return largeIcon;
    }
    if (smallIcon != nullptr) {
        return smallIcon;
    }
    return shellIconOf(path, SHGFI_ICON);
}

// The bitmap of an icon, and the canvas that shares the picture's memory; released together.
struct Drawing {
    Gdiplus::GpBitmap* source = nullptr;
    Gdiplus::GpBitmap* canvas = nullptr;
    Gdiplus::GpGraphics* graphics = nullptr;

    Drawing() = default;
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;
    ~Drawing() {
        if (graphics != nullptr) {
            Flat::GdipDeleteGraphics(graphics);
        }
        for (Gdiplus::GpBitmap* const bitmap : {canvas, source}) {
            if (bitmap != nullptr) {
                Flat::GdipDisposeImage(bitmap);
            }
        }
    }
};

} // namespace

IconStep drawIcon(const std::wstring& executablePath, bool orAnyProgram, QImage& picture) {
    picture = QImage();
    if (!gdiPlusStarted()) {
        return IconStep::GdiPlus;
    }
    IconHandle icon = iconOf(executablePath);
    if (icon == nullptr && orAnyProgram) {
        icon = shellIconOf(L".exe", SHGFI_ICON | SHGFI_USEFILEATTRIBUTES);
    }
    if (icon == nullptr) {
        return IconStep::Icon;
    }
    QImage canvas(kIconFileSize, kIconFileSize, QImage::Format_ARGB32);
    canvas.fill(Qt::transparent);
    Drawing drawing;
    const bool drawn =
        Flat::GdipCreateBitmapFromHICON(icon.get(), &drawing.source) == Gdiplus::Ok &&
        Flat::GdipCreateBitmapFromScan0(kIconFileSize, kIconFileSize, static_cast<INT>(canvas.bytesPerLine()),
                                        PixelFormat32bppARGB, canvas.bits(),
                                        &drawing.canvas) == Gdiplus::Ok &&
        Flat::GdipGetImageGraphicsContext(drawing.canvas, &drawing.graphics) == Gdiplus::Ok &&
        Flat::GdipSetInterpolationMode(drawing.graphics, Gdiplus::InterpolationModeHighQualityBicubic) ==
            Gdiplus::Ok &&
        Flat::GdipSetSmoothingMode(drawing.graphics, Gdiplus::SmoothingModeHighQuality) == Gdiplus::Ok &&
        Flat::GdipSetPixelOffsetMode(drawing.graphics, Gdiplus::PixelOffsetModeHighQuality) == Gdiplus::Ok &&
        Flat::GdipDrawImageRectI(drawing.graphics, drawing.source, 0, 0, kIconFileSize, kIconFileSize) ==
            Gdiplus::Ok;
    if (!drawn) {
        return IconStep::Bitmap;
    }
    picture = canvas;
    return IconStep::Done;
}

QImage extractIcon(const std::wstring& executablePath) {
    QImage picture;
    static_cast<void>(drawIcon(executablePath, false, picture));
    return picture;
}
