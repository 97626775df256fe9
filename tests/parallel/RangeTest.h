// Ranges of words in one buffer with words between them that nobody may touch: what the tests of the GPU algorithms run
// on. The whole buffer is compared with what the CPU makes of it.

#pragma once

#include <random>

#include "GpuTest.h"
#include "KolmShader.h"

struct Range {
    uint32_t offset;
    uint32_t size;
};

class RangeTest : public GpuTest {
public:
    /// What the scan within a group rests on: subgroups of the one size that the device has, subgroups whose size is
    /// compared at run time, or shared memory.
    enum Path { PathFixed, PathChecked, PathMemory, NumPaths };
    static const char *getPathName(uint32_t path) {
        static const char *const names[] = {"subgroups", "checked", "memory"};
        return names[path];
    }

protected:
    void TearDown() override {
        setPath(PathFixed);
        GpuTest::TearDown();
    }

    /// For kernels that are made from now on.
    static void setPath(uint32_t path) {
        Kolm::Shader::removeMacro("NO_SUBGROUP");
        Kolm::Shader::removeMacro("SUBGROUP_CHECKED");
        if(path == PathChecked) Kolm::Shader::setMacro("SUBGROUP_CHECKED", 1);
        if(path == PathMemory) Kolm::Shader::setMacro("NO_SUBGROUP", 1);
    }

    /// Ranges of these sizes behind each other, at least a word apart. \p columns parts of each size belong to a range.
    static std::vector<Range> makeRanges(const std::vector<uint32_t> &sizes, uint32_t &total) {
        std::vector<Range> ranges;
        uint32_t offset = 4;
        for(const uint32_t size : sizes) {
            ranges.push_back({offset, size});
            offset = (offset + size + 4) & ~3u;
        }
        total = offset;
        return ranges;
    }

    /// Whether every size is tested in every form, which takes minutes.
    static bool isEverySize() { return getenv("OSTREVAN_EVERY_SIZE") != nullptr; }

    /// Sizes from 0 to below \p end: all of them if every size is tested, else every \p step-th of those from 80 on.
    static std::vector<uint32_t> makeSizes(uint32_t end, uint32_t step) {
        if(isEverySize()) step = 1;
        std::vector<uint32_t> sizes;
        for(uint32_t size = 0; size < end; size += (size < 80) ? 1 : step) sizes.push_back(size);
        return sizes;
    }

    /// The sizes in lists whose ranges have, with \p elements for each group, no more than \p max_groups groups.
    static std::vector<std::vector<uint32_t>> splitSizes(const std::vector<uint32_t> &sizes, uint32_t elements,
                                                         uint32_t max_groups) {
        std::vector<std::vector<uint32_t>> lists(1);
        uint32_t num_groups = 0;
        for(const uint32_t size : sizes) {
            const uint32_t groups = size / elements + 4;
            if(num_groups + groups > max_groups) {
                lists.emplace_back();
                num_groups = 0;
            }
            lists.back().push_back(size);
            num_groups += groups;
        }
        return lists;
    }

    std::vector<uint32_t> makeWords(uint32_t size) {
        std::vector<uint32_t> words(size);
        for(uint32_t &word : words) word = random();
        return words;
    }

    static void expectEqual(const std::vector<uint32_t> &words, const std::vector<uint32_t> &expected,
                            const std::vector<Range> &ranges) {
        ASSERT_EQ(words.size(), expected.size());
        for(size_t i = 0; i < words.size(); i++) {
            if(words[i] == expected[i]) continue;
            for(const Range &range : ranges) {
                if(i < range.offset || i >= range.offset + range.size) continue;
                FAIL() << "element " << i - range.offset << " of the range of " << range.size << " is " << words[i]
                       << " instead of " << expected[i];
            }
            FAIL() << "word " << i << " outside of all ranges was written";
        }
    }

    static constexpr Kolm::Buffer::Flags buffer_flags =
        Kolm::Buffer::Flags(uint32_t(Kolm::Buffer::FlagStorage) | uint32_t(Kolm::Buffer::FlagSource));

    std::mt19937 random{1};
};
