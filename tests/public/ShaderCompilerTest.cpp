// The shader classes as an application sees them, and the program's command on top of them.

#include <gtest/gtest.h>

#include <Ostrevan.h>

#include <stdio.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Ostrevan;

namespace {

const std::string folder = OSTREVAN_TEST_DATA "/shader/";

class Messages {
public:
    Messages() { Log::setCallback(append, this); }
    ~Messages() { Log::setCallback(nullptr, nullptr); }
    std::string text;

private:
    static bool append(Log::Level, size_t, const char *text, void *data) {
        static_cast<Messages *>(data)->text += text;
        return true;
    }
};

TEST(ShaderCompiler, compiles_without_a_device) {
    Messages messages;
    ShaderCompiler compiler;
    EXPECT_FALSE(compiler.isCreated());
    EXPECT_EQ(compiler.getOpcodes(), nullptr);
    const std::string name = folder + "fill.comp";
    ASSERT_TRUE(compiler.loadGLSL(Shader::TypeCompute, name.c_str(), "GROUP_SIZE=%u; SCALE=%uu", 16u, 5u))
        << messages.text;
    EXPECT_TRUE(compiler.isCreated());
    EXPECT_EQ(compiler.getPlatform(), PlatformUnknown);
    EXPECT_EQ(compiler.getType(), Shader::TypeCompute);
    EXPECT_STREQ(compiler.getTypeName(), "Compute");
    EXPECT_EQ(compiler.getName(), name.c_str());
    ASSERT_GT(compiler.getNumOpcodes(), 5u);
    EXPECT_EQ(compiler.getOpcodes()[0], 0x07230203u);

    Blob blob;
    EXPECT_TRUE(compiler.getBinary(blob));
    EXPECT_EQ(blob.getSize(), sizeof(uint32_t) * compiler.getNumOpcodes());

    // words pass through as they are, and copies of the handle share them
    ShaderCompiler copy;
    EXPECT_TRUE(copy.createSPIRV(Shader::TypeCompute, compiler.getOpcodes(), compiler.getNumOpcodes()));
    Shader base = copy;
    EXPECT_TRUE(base.isCreated());
    EXPECT_EQ(copy.getOpcodes()[0], 0x07230203u);

    // a failed load keeps what was there
    const char *includes[] = {"a.h", "uint a;\nBAD b;\n"};
    messages.text.clear();
    EXPECT_FALSE(compiler.createGLSL(Shader::TypeCompute, "#include \"a.h\"\n", String("A=1"), includes, 2));
    EXPECT_NE(messages.text.find("a.h:2: BAD b;"), std::string::npos) << messages.text;
    EXPECT_EQ(compiler.getNumOpcodes(), copy.getNumOpcodes());
}

TEST(Shader, macros_and_preprocessor) {
    Messages messages;
    Shader::setMacro("SIZE", 4u);
    Shader::setInclude("size.h", "SIZE COUNT\n");
    EXPECT_EQ(Shader::preprocessor("#include \"size.h\"\n", "COUNT=%d", 3), "4u 3\n");
    Shader::clearMacros();
    Shader::clearIncludes();
    bool status = true;
    EXPECT_EQ(Shader::preprocessor("", String(), nullptr, 0, &status), "");
    EXPECT_TRUE(status);
    EXPECT_EQ(Shader::preprocessor("#if\n", String(), nullptr, 0, &status), "");
    EXPECT_FALSE(status);
    EXPECT_STREQ(Shader::getTypeName(Shader::TypeIntersection), "Intersection");
}

// -- ostrevan shader ------------------------------------------------------------------------------------------------

struct Command {
    explicit Command(const std::string &args) {
        // no driver is found under this name: the command needs none
        const std::string line =
            "VK_ICD_FILENAMES=/nonexistent " OSTREVAN_RUN OSTREVAN_BINARIES "/ostrevan shader " + args + " 2>&1";
        FILE *pipe = popen(line.c_str(), "r");
        for(int c; (c = getc(pipe)) != EOF;) out += char(c);
        code = WEXITSTATUS(pclose(pipe));
    }
    std::string out;
    int code;
};

bool exists(const std::string &name) {
    struct stat info;
    return stat(name.c_str(), &info) == 0;
}

TEST(ShaderCommand, writes_modules_and_texts) {
    const std::string out = testing::TempDir() + "command.spv";
    remove(out.c_str());
    Command compile(folder + "fill.comp -D GROUP_SIZE=64 -DSCALE=7u -o " + out);
    EXPECT_EQ(compile.code, 0) << compile.out;
    EXPECT_EQ(compile.out, "");
    File file;
    ASSERT_TRUE(file.open(out.c_str(), "rb"));
    EXPECT_EQ(file.readu32(), 0x07230203u);
    remove(out.c_str());

    // the words are those of the library
    ShaderCompiler compiler;
    ASSERT_TRUE(compiler.loadGLSL(Shader::TypeCompute, (folder + "fill.comp").c_str(), "GROUP_SIZE=64; SCALE=7u"));
    EXPECT_EQ(file.getSize(), sizeof(uint32_t) * compiler.getNumOpcodes());

    EXPECT_EQ(Command("-E " + folder + "outer.h").out, "int inner;\nint outer;\n");
    EXPECT_EQ(Command("-I " + folder + " -E " + folder + "outer.h -o " + out).out, "");
    EXPECT_EQ(File::getSize(out.c_str()), 22u);
    remove(out.c_str());
}

TEST(ShaderCommand, failures) {
    const std::string out = testing::TempDir() + "command_failed.spv";
    const struct {
        std::string args;
        int code;
        const char *text;
    } rows[] = {
        {folder + "error.comp -o " + out, 1, "error.h:3: unknown_type getValue() { return 1u; }\n"},
        {folder + "error.comp -E -D TYPE=1 -o " + out, 0, "macro redefined"},
        {folder + "fill.comp -t compute -o " + out, 1, "GROUP_SIZE"},
        {"absent.comp", 1, "can't open \"absent.comp\" file"},
        {folder + "outer.h -o " + out, 2, "names no stage"},
        {folder + "fill.comp -t pixel", 2, "unknown stage \"pixel\""},
        {folder + "fill.comp -x", 2, "unknown option \"-x\""},
        {folder + "fill.comp -D", 2, "option -D lacks its value"},
        {folder + "fill.comp -D 9=1", 2, "invalid macro"},
        {"a.comp b.comp -o " + out, 2, "several inputs need a folder"},
        {"", 2, "no input file"},
        {"--help", 0, "Usage: ostrevan shader"},
    };
    for(const auto &row : rows) {
        remove(out.c_str());
        const Command command(row.args);
        EXPECT_EQ(command.code, row.code) << row.args << "\n" << command.out;
        EXPECT_NE(command.out.find(row.text), std::string::npos) << row.args << "\n" << command.out;
        if(row.code) {
            EXPECT_FALSE(exists(out)) << row.args;
        }
    }
    remove(out.c_str());
}

} // namespace
