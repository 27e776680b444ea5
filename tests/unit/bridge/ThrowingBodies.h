#pragma once

// What the bridge stands on, with bodies of a test: the capture service, the router's captures, the
// inventories and the rate probe. They are defined in the program itself, so that the libraries' own are left
// out of it.

/// The text of every exception.
inline constexpr const char* kThrownText = "no more memory";

/// Whether every operation throws; else each succeeds without doing anything. No thread but the test's calls
/// them.
void letBodiesThrow(bool wanted);
/// How many operations have thrown.
[[nodiscard]] int thrownCount();
