// Random calls against a model: one target for two drivers.
//
// With libFuzzer:  fuzz_target -max_len=2048 corpus
// Without:         fuzz_seeded FIRST LAST [FILE...] plays an input of random bytes for
//                  each seed from FIRST to LAST, and the files. A finding prints the seed
//                  and aborts; without one, the digest is the same on every machine.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

#include "common/memory.h"
#include "error/error.h"
#include "fuzz/check.h"
#include "fuzz/muted.h"
#include "fuzz/player.h"
#include "session.h"

namespace {

// Plays one input; returns the number of calls.
long playInput(const std::uint8_t* data, std::size_t size) {
    const Long before = allocatedMemory;
    long calls = 0;
    {
        const Muted muted;
        Player player(data, size);
        player.play();
        calls = player.calls();
    }
    require(nbSessions == 0 && allocatedMemory == before,
            "memory is left after the kill");
    return calls;
}

}  // namespace

#ifdef KAVRIL_LIBFUZZER

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    playInput(data, size);
    return 0;
}

#else

namespace {

long playSeed(long seed) {
    inputName = "seed " + std::to_string(seed);
    std::mt19937 random(static_cast<unsigned>(seed));
    std::vector<std::uint8_t> bytes(200 + random() % 4000);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return playInput(bytes.data(), bytes.size());
}

long playFile(const char* name) {
    inputName = name;
    std::ifstream file(name, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    return playInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return EXIT_FAILURE;
    long calls = 0;
    for (long seed = std::atol(argv[1]); seed <= std::atol(argv[2]); seed++)
        calls += playSeed(seed);
    for (int i = 3; i < argc; i++) calls += playFile(argv[i]);
    std::printf("%ld calls, digest %016llx\n", calls,
                static_cast<unsigned long long>(digest));
}

#endif
