#pragma once

/// Keeps a part of the calling thread's stack for the handler of a crash, which has none otherwise where the
/// stack is used up.
void keepStackForCrash();
