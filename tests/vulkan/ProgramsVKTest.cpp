// The compiler on the device: programs with known results, and random ones with a host interpreter beside them.
//
// tests/data/programs/README.md tells the form of the files. Each is run through the library's compiler and through the
// reference compiler; both have to give the words that stand in the file.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <math.h>
#include <regex>
#include <sstream>
#include <string.h>

#include "../shader/RandomFloatProgram.h"
#include "GpuTest.h"

using namespace Kolm;

class ProgramsVKTest : public GpuTest {
protected:
    struct Program {
        std::string name;
        std::string src;
        std::vector<std::string> words; // expected, "-" for one that stays
        std::vector<bool> about;        // floats that may differ in the last places
        uint32_t num_bindings = 2;
        bool has_uniform = false; // binding 2, otherwise all are storage buffers
    };

    static Program load_program(const std::filesystem::path &path) {
        Program program;
        program.name = path.filename().string();
        std::ifstream file(path);
        for(std::string line; std::getline(file, line);) {
            std::smatch match;
            if(std::regex_match(line, match, std::regex("// expect( about)?: (.*)"))) {
                std::istringstream words(match[2].str());
                for(std::string word; words >> word;) {
                    program.words.push_back(word);
                    program.about.push_back(match[1].matched);
                }
            }
            if(std::regex_search(line, match, std::regex("binding = (\\d+)\\) (\\w+)"))) {
                program.num_bindings = std::max(program.num_bindings, uint32_t(std::stoul(match[1])) + 1);
                if(match[2] == "uniform") program.has_uniform = true;
            }
            program.src += line + "\n";
        }
        return program;
    }

    static bool is_close(uint32_t a, uint32_t b) {
        float32_t x = 0, y = 0;
        memcpy(&x, &a, 4);
        memcpy(&y, &b, 4);
        return a == b || fabsf(x - y) <= 1e-5f * std::max(1.0f, fabsf(y));
    }

    std::vector<uint32_t> run(Kernel *kernel, const Program &program) {
        const Buffer::Flags flags = Buffer::FlagStorage | Buffer::FlagUniform | Buffer::FlagSource;
        std::vector<BufferPtr> buffers;
        for(uint32_t i = 0; i < program.num_bindings; i++) {
            std::vector<uint32_t> words(i == 1 ? 64 : 1024, 0xDEADBEEF);
            for(uint32_t j = 0; i && j < words.size(); j++) words[j] = (i == 1) ? j : 0x3F800000 + (j << 12);
            buffers.push_back(createBuffer(flags, words));
        }
        ComputePtr compute = createCompute();
        compute->setKernel(kernel);
        for(uint32_t i = 0; i < program.num_bindings; i++) {
            if(program.has_uniform && i == 2) {
                compute->setUniformBuffer(0, buffers[i].get());
            } else {
                compute->setStorageBuffer(i, buffers[i].get());
            }
        }
        compute->dispatch(1, 1, 1);
        compute.reset();
        return getWords(buffers[0].get());
    }

    void check(const Program &program, const std::vector<uint32_t> &results, const char *compiler) {
        for(uint32_t i = 0; i < results.size(); i++) {
            const bool known = (i < program.words.size() && program.words[i] != "-");
            const uint32_t expected = known ? uint32_t(std::stoul(program.words[i], nullptr, 16)) : 0xDEADBEEF;
            if(i < program.words.size() && program.about[i] ? is_close(results[i], expected) : results[i] == expected)
                continue;
            char text[128];
            snprintf(text, sizeof(text), "word %u is 0x%08x instead of 0x%08x", i, results[i], expected);
            ADD_FAILURE() << program.name << " by the " << compiler << " compiler: " << text;
            return;
        }
    }
};

#ifdef OSTREVAN_GLSLANG
static constexpr bool compilers[] = {false, true};
#else
static constexpr bool compilers[] = {false}; // a cross build has no reference compiler
#endif

TEST_F(ProgramsVKTest, give_the_expected_words) {
    std::vector<std::filesystem::path> paths;
    for(const auto &entry : std::filesystem::directory_iterator(OSTREVAN_TEST_DATA "/programs")) {
        if(entry.path().extension() == ".comp") paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    EXPECT_GE(paths.size(), 80u);
    for(const auto &path : paths) {
        const Program program = load_program(path);
        SCOPED_TRACE(program.name);
        EXPECT_FALSE(program.words.empty()) << "no expected words";
        for(const bool reference : compilers) {
            KernelPtr kernel(device->createKernel(nullptr));
            kernel->setStorages(program.has_uniform ? 2 : program.num_bindings);
            if(program.has_uniform) kernel->setUniforms(1).setUniformOffset(2);
            const std::vector<uint32_t> words =
                reference ? compileReference(program.src) : compile(program.src.c_str());
            if(!kernel->createShaderSPIRV(Array<uint32_t>(uint32_t(words.size()), words.data())) || !kernel->create()) {
                ADD_FAILURE() << "can't create kernel by the " << (reference ? "reference" : "own") << " compiler";
                continue;
            }
            check(program, run(kernel.get(), program), reference ? "reference" : "own");
        }
        ASSERT_TRUE(device->flip());
    }
}

// On these lavapipe (25.0, LLVM 15) ends the process or never returns from the pipeline's creation, by whichever
// compiler the module was made.
static bool is_driver_fault(uint32_t seed) {
    for(const uint32_t fault : {60649u, 500378u, 500547u}) {
        if(seed == fault) return true;
    }
    return false;
}

// OSTREVAN_RANDOM_PROGRAMS in the environment asks for more of them, OSTREVAN_RANDOM_SEED for others; the seeds are then
// told as they run, since a driver that ends the process tells none.
class RandomProgramsVKTest : public ProgramsVKTest {
protected:
    template<class Create> void check_random(uint32_t num_programs, Create &&create) {
        const char *num_text = getenv("OSTREVAN_RANDOM_PROGRAMS");
        const char *seed_text = getenv("OSTREVAN_RANDOM_SEED");
        if(num_text) num_programs = uint32_t(atoi(num_text));
        const uint32_t first_seed = seed_text ? uint32_t(atoi(seed_text)) : 1;
        constexpr uint32_t module_size = 8; // the driver's passes take more than linear time
        uint32_t num_differences = 0;
        for(uint32_t i = 0; i * module_size < num_programs; i++) {
            const uint32_t seed = first_seed + i;
            SCOPED_TRACE(testing::Message() << "seed " << seed);
            if(seed_text) fprintf(stderr, "seed %u\n", seed);
            std::vector<uint32_t> input;
            const RandomModule module = create(seed, module_size, input);
            if(module.expected.empty()) continue;
            KernelPtr kernel = createKernel(module.source, 0, input.empty() ? 1 : 2);
            if(!kernel) continue;
            BufferPtr results = createBuffer(Buffer::FlagStorage | Buffer::FlagSource,
                                             std::vector<uint32_t>(module.expected.size(), 0xDEADBEEF));
            BufferPtr numbers;
            ComputePtr compute = createCompute();
            compute->setKernel(kernel.get());
            compute->setStorageBuffer(0, results.get());
            if(!input.empty()) {
                numbers = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, input);
                compute->setStorageBuffer(1, numbers.get());
            }
            compute->dispatch(1, 1, 1);
            compute.reset();
            const std::vector<uint32_t> words = getWords(results.get());
            for(uint32_t j = 0; j < words.size(); j++) {
                if(words[j] == module.expected[j]) continue;
                if(num_differences++ < 8)
                    ADD_FAILURE() << "program " << j << " gives " << words[j] << " instead of " << module.expected[j];
            }
            ASSERT_TRUE(device->flip());
        }
        EXPECT_EQ(num_differences, 0u) << "of " << num_programs << " programs";
    }
};

TEST_F(RandomProgramsVKTest, integers) {
    check_random(2000, [](uint32_t seed, uint32_t size, std::vector<uint32_t> &) {
        return is_driver_fault(seed) ? RandomModule() : create_random_module(seed, size);
    });
}

TEST_F(RandomProgramsVKTest, floats_vectors_and_matrices) {
    check_random(240, [](uint32_t seed, uint32_t size, std::vector<uint32_t> &input) {
        RandomFloatModule module = create_random_float_module(seed, size);
        input = module.input;
        return RandomModule(module);
    });
}
