// The target of libFuzzer for contents of session files, their checksums taken for right.

#include "common/memory.h"
#include "error/error.h"
#include "session/contents.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Long before = allocatedMemory;
    errorInit();
    tryContents(data, size);
    errorDestroy();
    if (allocatedMemory != before) throw std::runtime_error("memory is left");
    return 0;
}
