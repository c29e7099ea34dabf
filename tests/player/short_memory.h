// Takes memory away from the library: stands before its allocation functions, by the
// linker's option --wrap.
#pragma once

// The nth allocation from now on fails, and all behind it if memory stays short.
void shortenMemory(long nth, bool stays);

// How many allocations were left before the one that was to fail; 0 if it has failed.
// Then there is memory again.
long restoreMemory();
