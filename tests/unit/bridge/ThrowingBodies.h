#pragma once

// Test bodies of what the bridge calls: the capture service, the router's captures, the inventories and the
// rate probe. They are defined in the test program itself, so that the linker leaves the libraries' own out.

/// The text of every exception.
inline constexpr const char* kThrownText = "no more memory";

/// Whether every operation throws; else each succeeds without doing anything. No thread but the test's calls
/// them.
void letBodiesThrow(bool wanted);
/// How many operations have thrown.
[[nodiscard]] int thrownCount();
