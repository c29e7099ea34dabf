// What stands in for the C++ runtime in libkavril.so.
//
// The library neither throws nor catches, and takes its memory from malloc, so that it
// needs nothing of libstdc++ and of the unwinder in libgcc. A copy of them inside the
// library would need the glibc of the machine that built it (arc4random,
// _dl_find_object), and with it the library would load on few servers.
//
// The headers of the standard library still call functions of the runtime for what cannot
// go on. Those that the library meets are here; the test "library" names any other one.
#include <cstdlib>
#include <mutex>

// A mutex that cannot be locked: only one whose memory was overwritten.
void std::__throw_system_error(int) {
    std::abort();
}
