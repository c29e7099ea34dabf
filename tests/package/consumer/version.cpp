#include <cstdio>

#include "common/version.h"

int main() {
    std::printf("%s %s\n", KAVRIL_VERSION, kavril_version());
}
