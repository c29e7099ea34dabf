#include "common/version.h"

// Exported by libkavril.so, too, whose other symbols are hidden.
[[gnu::visibility("default")]] const char* kavril_version() {
    return KAVRIL_VERSION;
}
