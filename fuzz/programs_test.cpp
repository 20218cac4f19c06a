// Runs a target on inputs that are kept, on every short one, and on random ones, as tests: the same
// programs that the fuzzer makes up.

#include "program.hpp"
#include "support.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using input = std::vector<uint8_t>;

void run(const input &program) {
    LLVMFuzzerTestOneInput(program.data(), program.size());
}

// Short programs have this many choices, each below that number.
constexpr size_t short_length = 5, choices = 12;

} // namespace

TEST(Programs, KeptInputsRunThrough) {
    for (const auto &file : std::filesystem::directory_iterator(QVDS_FUZZ_INPUTS)) {
        SCOPED_TRACE(file.path().string());
        std::ifstream stream(file.path(), std::ios::binary);
        run(input(std::istreambuf_iterator<char>(stream), {}));
    }
}

TEST(Programs, EveryShortOneRunsThrough) {
    test::for_each_sequence(short_length, choices, [](const std::vector<size_t> &sequence) {
        SCOPED_TRACE(testing::PrintToString(sequence));
        run(input(sequence.begin(), sequence.end()));
    });
}

TEST(Programs, RandomOnesRunThrough) {
    test::for_each_seed([](test::Random &random) {
        for (int i = 0; i != 200; ++i) {
            input program(1 + random.below(500));
            for (uint8_t &byte : program)
                byte = static_cast<uint8_t>(random.below(256));
            run(program);
        }
    });
}
