// Runs the fuzz entries in a plain build over the files of tests/data/fuzz: seeds, and what a fuzzer once found. Every
// file is tried whole, cut at several lengths and with bytes changed, so that a reader that trusts its input is seen
// here too. An entry that finds a fault ends the process.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#define FUZZ_ENTRY(NAME) extern "C" int fuzz_##NAME(const uint8_t *data, size_t size);
#include "FuzzEntries.inc"
#undef FUZZ_ENTRY

namespace {

const struct {
    const char *name;
    int (*run)(const uint8_t *data, size_t size);
} entries[] = {
#define FUZZ_ENTRY(NAME) {#NAME, fuzz_##NAME},
#include "FuzzEntries.inc"
#undef FUZZ_ENTRY
};

} // namespace

TEST(Fuzz, entries_take_what_was_found_before) {
    size_t num_files = 0;
    for(const auto &entry : entries) {
        const std::filesystem::path folder = std::filesystem::path(OSTREVAN_TEST_DATA) / "fuzz" / entry.name;
        if(!std::filesystem::is_directory(folder)) continue;
        for(const auto &file : std::filesystem::directory_iterator(folder)) {
            std::ifstream stream(file.path(), std::ios::binary);
            const std::vector<char> text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
            const std::vector<uint8_t> bytes(text.begin(), text.end());
            // The last thing printed names the input that ended the process.
            printf("%s\n", file.path().c_str());
            fflush(stdout);
            entry.run(bytes.data(), bytes.size());
            std::mt19937 random(1);
            for(size_t size = 0; size < bytes.size(); size += 1 + bytes.size() / 50) {
                const std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + long(size));
                entry.run(cut.data(), cut.size());
                std::vector<uint8_t> changed = bytes;
                for(int i = 0; i < 3; i++) changed[random() % changed.size()] ^= uint8_t(1u << random() % 8);
                entry.run(changed.data(), changed.size());
            }
            num_files++;
        }
    }
    EXPECT_GT(num_files, 0u);
}
