// The preprocessor: outputs made by hand, messages with their exact place, and what hostile text may not do.

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <vector>

#include "CapturedLog.h"
#include "KolmShader.h"

using namespace Kolm;

namespace {

// Runs the engine as Shader::create does, under the file name "main".
struct Text {
    explicit Text(const std::string &src, const std::vector<std::string> &includes = {}) {
        std::vector<const char *> pairs;
        for(const std::string &text : includes) pairs.push_back(text.c_str());
        state.set_name("main");
        state.set_macro("__LINE__", "0");
        state.set_includes(pairs.data(), uint32_t(pairs.size()));
        String dest;
        ret = Shader::preprocessor(src.c_str(), dest, state, true);
        text = std::string(dest.get(), dest.size());
        log = captured.text();
    }
    // File and line of the first place in the output where \p word stands.
    std::string place(const char *word) const {
        const size_t pos = text.find(word);
        if(pos == std::string::npos) return "absent";
        return std::string(state.get_source(uint32_t(pos)).get()) + ":" + std::to_string(state.get_line(uint32_t(pos)));
    }

    CapturedLog captured;
    Shader::State state;
    bool ret;
    std::string text;
    std::string log;
};

std::string repeat(const std::string &text, size_t count) {
    std::string ret;
    ret.reserve(text.size() * count);
    for(size_t i = 0; i < count; i++) ret += text;
    return ret;
}

// -- Outputs --------------------------------------------------------------------------------------------------------

const struct {
    const char *name;
    const char *src;
    const char *text;
} outputs[] = {
    {"plain text", "void main() {\n\tint a = 1;\n}\n", "void main() {\n\tint a = 1;\n}\n"},
    {"blank lines and trailing white space go", "a  \n\n \t\n  b \t\r\nc", "a\n  b\nc"},
    {"block comment is one line feed", "int a /* c */ = 1;\n", "int a\n= 1;\n"},
    {"line comment", "int a; // b\nint c; // d", "int a;\nint c;\n"},
    {"comment of several lines", "a /* b\nc\nd */\ne\n", "a\ne\n"},
    {"directive behind a comment", "/* c */ #define A 1\nA\n", "\n1\n"},
    {"division is no comment", "a / b /c\n", "a / b /c\n"},
    {"literals hide comments and macros", "#define a b\n\"a // a\\\" /*\" 'a' a\n", "\"a // a\\\" /*\" 'a' b\n"},
    {"continued line", "int a = \\\n1;\nb\n", "int a = 1;\nb\n"},
    {"version passes", "#version 450\nvoid f();\n", "#version 450\nvoid f();\n"},
    {"escaped hash passes", "##version 450\n", "#version 450\n"},
    {"unknown directives pass with their indentation", "  #extension GL_foo : enable\n # line 3\n",
     "  #extension GL_foo : enable\n #line 3\n"},
    {"lone hash", "a\n#\nb\n", "a\nb\n"},
    {"hash within a line", "a # define b\n", "a # define b\n"},

    {"object macro", "#define A 1\nA + A;\n", "1 + 1;\n"},
    {"macro without value", "#define A\n[A]\n", "[]\n"},
    {"macro of macros", "#define A B + 1\n#define B C\n#define C 3\nA\n", "3 + 1\n"},
    {"self reference stays", "#define A A\n#define B C + B\n#define C B\nA B\n", "A B + B\n"},
    {"digits begin names", "#define abc x\n1abc abc abc1\n", "1abc x abc1\n"},
    {"comments in a value", "#define A 1 /* b */ + /* c\n d */ 2 // e\nA;\n", "1   +   2;\n"},
    {"value of several lines", "#define A 1 + \\\n2\nA\n", "1 + \n2\n"},
    {"definition within parentheses", "#define A (1)\n#define E()\nA E\n", "(1) ()\n"},
    {"parentheses with text behind are parameters", "#define A (1) + 2\nA(7) + A(8)\n", "+ 2 + + 2\n"},
    {"parameter that is a number", "#define A (1) 1 * 1\nA(7)\n", "7 * 7\n"},
    {"empty parameter list", "#define F() 1\nF() F( )\n", "1 1\n"},
    {"indented directives", "  #  define A 1\n\t# undef A\nA\n", "A\n"},

    {"function macro", "#define F(a, b) (a + b * a)\nF(1, 2)\n", "(1 + 2 * 1)\n"},
    {"space before arguments", "#define F(a) [a]\nF (1) F\n\t(2)\n", "[1] [2]\n"},
    {"nested call", "#define MAX(a, b) ((a) > (b) ? (a) : (b))\nMAX(1, MAX(2, 3))\n",
     "((1) > (((2) > (3) ? (2) : (3))) ? (1) : (((2) > (3) ? (2) : (3))))\n"},
    {"commas in brackets", "#define F(a) [a]\nF((1, 2)) F({3, 4}) F(v[5, 6])\n", "[(1, 2)] [{3, 4}] [v[5, 6]]\n"},
    {"empty last argument", "#define F(a, b) a:b;\nF(1,) F(,2) F(,)\n", "1:; :2; :;\n"},
    {"arguments over lines", "#define F(a, b) a + b\nF(1, // one\n2 /* two */\n);\nx\n", "1 + 2;\nx\n"},
    {"parameters are whole names", "#define F(a) a aa a1 _a a\nF(x)\n", "x aa a1 _a x\n"},
    {"stringify", "#define S(a) #a # a\nS(x \"y\")\n", "\"x \\\"y\\\"\" # x \"y\"\n"},
    {"concatenate", "#define C(a, b) a ## b\n#define xy 1\nC(x, y) C(x,) C(1, 2)\n", "1 x 12\n"},
    {"pack a string", "#define P(s) {@s}\nP(\"abcd\") P(\"abc\") P(\"\")\n", "{0x64636261, 0x0} {0x636261} {0x0}\n"},
    {"pack escapes", "#define P(s) @s\nP(\"\\n\\\"\\\\\")\n", "0x5c220a\n"},
    {"variadic", "#define F(...) __VA_ARGC__: __VA_ARGS__;\nF(a,b , c) F()\n", "3: a, b, c; 0: ;\n"},
    {"variadic behind parameters", "#define F(a, ...) a(__VA_ARGS__) __VA_ARGC__\nF(f, 1, 2) F(g)\n",
     "f(1, 2) 2 g() 0\n"},
    {"variadic each",
     "#define E(a) <a>\n#define I(a, i) a[i];\n#define F(...) __VA_ARGM__(E) __VA_ARGM__(I)\nF(x, y)\n",
     "<x><y> x[0u];y[1u];\n"},
    {"variadic words elsewhere", "#define F(a) __VA_ARGS__ __VA_ARGC__\nF(1)\n", "__VA_ARGS__ __VA_ARGC__\n"},

    {"define twice, assign never replaces", "#define X 1\n#assign X 2\n#assign Y 3\nX Y\n", "1 3\n"},
    {"undef", "#define X 1\nX\n#undef X\nX\n", "1\nX\n"},
    {"line in text and in macros", "#define L __LINE__\n__LINE__ L\n\nL\n", "0 2\n4\n"},
    {"line of the outermost macro", "#define F(a) a\n#define L __LINE__\nF(\nL\n) F(__LINE__)\n", "3 5\n"},
    {"file", "__FILE__\n", "main\n"},

    {"if and else", "#if 1\na\n#else\nb\n#endif\n#if 0\nc\n#else\nd\n#endif\n", "a\nd\n"},
    {"elif takes the first", "#if 0\na\n#elif 1\nb\n#elif 1\nc\n#else\nd\n#endif\n", "b\n"},
    {"elifdef, elifndef", "#define A\n#if 0\na\n#elifdef B\nb\n#elifndef A\nc\n#elifdef A\nd\n#endif\n", "d\n"},
    {"dead levels keep inner branches dead", "#if 1\na\n#else\n#if 0\nb\n#elif 1\nc\n#else\nd\n#endif\n#endif\ne\n",
     "a\ne\n"},
    {"dead text is not read", "#if 0\ndon't \"\n#if )(\n#elif )(\n#endif\n#define A 1\n#error no\n#undef\n#endif\nA\n",
     "A\n"},
    {"dead text joins nothing", "a\n#if 0\nb\n#endif\nc", "a\nc"},
    {"comment behind endif", "#if 1\na\n#endif // b\nc\n#if 1 /* d */\ne\n#endif /* f\n */ g\n", "a\nc\ne\ng\n"},
    {"expression after ifdef",
     "#define A\n#ifdef A && !B\na\n#endif\n#ifndef A || B\nb\n#endif\n#ifdef (A)\nc\n#endif\n", "a\nc\n"},
    {"defined", "#define A\n#if defined A && defined(A) && !defined ( B )\na\n#endif\n", "a\n"},
    {"crlf", "#define A 1\r\n#if A\r\na A\r\n#endif\r\nb\r\n", "a 1\nb\n"},
    {"pragmas leave no trace", "a\n#pragma export(\"x, y\", z)\nb\n", "a\nb\n"},
    {"end without line feed", "#define A 1\nA", "1"},
    {"empty", "", ""},
    {"byte order mark", "\xEF\xBB\xBF#define A 1\nA", "1"},
};

TEST(Preprocessor, corpus) {
    for(const auto &row : outputs) {
        Text run(row.src);
        EXPECT_TRUE(run.ret) << row.name << ": " << run.log;
        EXPECT_EQ(run.text, row.text) << row.name;
        EXPECT_EQ(run.log, "") << row.name;
    }
}

TEST(Preprocessor, expressions) {
    const struct {
        const char *text;
        int32_t value; // -1: no expression
    } rows[] = {
        {"1 + 2 * 3", 7},
        {"(1 + 2) * 3", 9},
        {"10 - 4 - 3", 3},
        {"100 / 10 / 5", 2},
        {"1 / 0", 0},
        {"(0-2147483647-1) / (0-1) + 1 < 0", 1},
        {"-2 + 3", 1},
        {"2 - -3", 5},
        {"2 * -3 + 7", 1},
        {"!0 + !5", 1},
        {"!!5", 1},
        {"1 < 2 == 1", 1},
        {"3 > 3 || 3 >= 3 && 2 <= 1", 0},
        {"1 || 0 && 0", 1},
        {"1 != 2", 1},
        {"4294967295 + 1 == 0", 1},
        {"UNKNOWN", 0},
        {"SELF", 0},
        {"TWO * TWO", 4},
        {"SUM", 5},
        {"defined TWO + defined(UNKNOWN)", 1},
        {"1 // 0)", 1},
        {"1 /* ) */ + 1", 1},
        // The value of UINT is no number: it counts as -1.
        {"UINT", -1},
        {"UINT * UINT", 1},
        {"", -1},
        {"1 2", -1},
        {"1 +", -1},
        {"* 1", -1},
        {"(1", -1},
        {"1)", -1},
        {"1 & 1", -1},
        {"1 = 1", -1},
        {"8u", -1},
        {"\"a\"", -1},
        {"defined", -1},
        {"defined(TWO", -1},
        {"LOOP", -1},
        {"LOOP + 1000", -1},
        {"WIDE", -1},
        {"0 - 1", -1},
    };
    Shader::State state;
    CapturedLog log;
    state.set_macros("SELF=SELF; TWO=2; SUM=TWO + 3; UINT=8u; LOOP=LOOP2 + 1; LOOP2=LOOP; W0=1");
    for(uint32_t i = 1; i < 40; i++) {
        state.set_macro(String::format("W%u", i).get(), String::format("W%u + W%u", i - 1, i - 1).get());
    }
    state.set_macro("WIDE", "W39");
    for(const auto &row : rows) EXPECT_EQ(state.evaluate_value(row.text), row.value) << row.text;

    const struct {
        const char *text;
        int32_t value;
    } names[] = {
        {"TWO", 1},
        {"NO", 0},
        {"!NO", 1},
        {"NO || TWO && TWO", 1},
        {"(NO || TWO) && !NO", 1},
        {"!(TWO)", 0},
        {"TWO NO", -1},
        {"TWO + TWO", -1},
        {"1", -1},
        {"", -1},
        {"&&", -1},
        {"-TWO", -1},
        {"(TWO", -1},
    };
    for(const auto &row : names) EXPECT_EQ(state.evaluate_ifdef(row.text), row.value) << row.text;
}

// -- Messages -------------------------------------------------------------------------------------------------------

TEST(Preprocessor, errors) {
    const struct {
        const char *name;
        const char *src;
        const char *log;
    } rows[] = {
        {"bare ifdef", "a\n#ifdef\n#endif\n", "Shader::preprocessor(): invalid expression\nmain:2: #ifdef\n"},
        {"negative value", "#if 1 - 2\n#endif\n", "Shader::preprocessor(): invalid expression\nmain:1: #if 1 - 2\n"},
        {"elif alone", "\n#elif 1\n", "Shader::preprocessor(): #elif without #if\nmain:2: #elif 1\n"},
        {"else alone", "#else\n", "Shader::preprocessor(): #else without #if\nmain:1: #else\n"},
        {"endif alone", "#if 1\n#endif\n#endif\n", "Shader::preprocessor(): #endif without #if\nmain:3: #endif\n"},
        {"open if", "#if 1\na", "Shader::preprocessor(): unfinished conditional directive\nmain:2: a\n"},
        {"fatal", "a\n\n  #fatal no 50% way // now\n",
         "Shader::preprocessor(): no 50% way // now\nmain:3:   #fatal no 50% way // now\n"},
        {"missing arguments", "#define F(a) a\nx\nF;\n",
         "Shader::preprocessor(): can't get \"F\" macro arguments\nmain:3: F;\n"},
        {"too few arguments", "#define F(a, b) a b\nF()\n",
         "Shader::preprocessor(): invalid number of \"F\" macro arguments\nmain:2: F()\n"},
        {"too many arguments", "#define F(a) a\nF(1, 2)\n",
         "Shader::preprocessor(): invalid number of \"F\" macro arguments\nmain:2: F(1, 2)\n"},
        {"too few for dots", "#define F(a, b, ...) a\nF(1)\n",
         "Shader::preprocessor(): invalid number of \"F\" macro arguments\nmain:2: F(1)\n"},
        {"open call", "#define F(a) a\nF(1\n",
         "Shader::preprocessor(): can't read '(' to ')' region\n(1\nmain:2: F(1\n"},
        {"open literal", "a\n\"b\n", "Shader::preprocessor(): can't read string\n\"b\nmain:2: \"b\n"},
        {"open character", "a\n  'b\n", "Shader::preprocessor(): can't read symbol\n'b\nmain:2:   'b\n"},
        {"nameless define", "#define 1 2\n", "Shader::preprocessor(): can't read name\n1 2\nmain:1: #define 1 2\n"},
        {"bad parameters", "#define H (0.5) * x\n",
         "Shader::State::set_macro(): invalid arguments\nH(0.5)\n"
         "Shader::preprocessor(): can't parse #define directive\nmain:1: #define H (0.5) * x\n"},
        {"double parameters", "#define H(a, a) x\n",
         "Shader::State::set_macro(): invalid argument names\nH(a, a)\n"
         "Shader::preprocessor(): can't parse #define directive\nmain:1: #define H(a, a) x\n"},
        {"include without name", "#include A\n",
         "Shader::preprocessor(): can't parse #include directive\nmain:1: #include A\n"},
        {"include of nothing", "\n#include <absent.h>\n",
         "Shader::preprocessor(): can't include \"absent.h\" file\nmain:2: #include <absent.h>\n"},
        {"import of nothing", "#import \"absent.h\"\n",
         "Shader::preprocessor(): can't import \"absent.h\" file\nmain:1: #import \"absent.h\"\n"},
        {"packing no string", "#define P(s) @s\nP(1)\n",
         "Shader::preprocessor(): can't read string\n1\nmain:2: P(1)\n"},
        {"line behind a continued one", "#define A 1 + \\\n2\nA \\\n;\n#if\n",
         "Shader::preprocessor(): invalid expression\nmain:5: #if\n"},
        {"line behind a call over lines", "#define F(a) a\nF(1\n\n)\n#else\n",
         "Shader::preprocessor(): #else without #if\nmain:5: #else\n"},
    };
    for(const auto &row : rows) {
        Text run(row.src);
        EXPECT_FALSE(run.ret) << row.name;
        EXPECT_EQ(run.log, row.log) << row.name;
    }
}

TEST(Preprocessor, messages_that_do_not_fail) {
    const struct {
        const char *src;
        Log::Level level;
        const char *log;
    } rows[] = {
        {"\n#error bad % thing\n", Log::Error, "main:2: bad % thing\n"},
        {"#warning w\n", Log::Warning, "main:1: w\n"},
        {"#message m\n", Log::Message, "main:1: m\n"},
        {"#verbose v\n", Log::Verbose, "main:1: v\n"},
        {"#define X 1\n#define X 2\n", Log::Warning,
         "Shader::preprocessor(): \"X\" macro redefined\nmain:2 #define X 2\n"},
        {"#if 1\n#endif a b\n", Log::Warning,
         "Shader::preprocessor(): extra tokens at the end of #endif directive\nmain:2: #endif a b\n"},
        {"#undef A B\n", Log::Warning,
         "Shader::preprocessor(): extra tokens at the end of #undef directive\nmain:1: #undef A B\n"},
        {"#pragma a b\n", Log::Error, "Shader::State::set_pragma(): invalid pragma\n a b\n"},
    };
    for(const auto &row : rows) {
        Text run(std::string(row.src) + "end\n");
        EXPECT_TRUE(run.ret) << row.src;
        EXPECT_EQ(run.log, row.log) << row.src;
        ASSERT_EQ(run.captured.levels.size(), 1u) << row.src;
        EXPECT_EQ(run.captured.levels[0], row.level) << row.src;
        EXPECT_NE(run.text.find("end"), std::string::npos);
    }
    Text run("#define X 1\n#define X 2\nX\n");
    EXPECT_EQ(run.text, "2\n");
}

// -- Includes and positions -----------------------------------------------------------------------------------------

TEST(Preprocessor, includes) {
    const std::vector<std::string> files = {
        "a.h", "int a;", "b.h", "#include \"a.h\"\nint b;\n", "m.h", "#assign M __FILE__\nM\n", "empty.h", "", "odd"};
    EXPECT_EQ(Text("x\n#include \"a.h\"\ny\n", files).text, "x\nint a;\ny\n");
    EXPECT_EQ(Text("#include <b.h> // why\ny\n", files).text, "int a;\nint b;\ny\n");
    EXPECT_EQ(Text("#include \"a.h\"\n#include \"a.h\"\n", files).text, "int a;\nint a;\n");
    EXPECT_EQ(Text("#import \"a.h\"\n#import \"a.h\"\n#include \"a.h\"\n", files).text, "int a;\nint a;\n");
    EXPECT_EQ(Text("#if 0\n#include \"none\"\n#endif\ny\n", files).text, "y\n");
    EXPECT_EQ(Text("M\n#include \"m.h\"\nM __FILE__\n", files).text, "M\nm.h\nmain main\n");
    EXPECT_EQ(Text("#include \"empty.h\"\n", files).log,
              "Shader::preprocessor(): can't include \"empty.h\" file\nmain:1: #include \"empty.h\"\n");
    EXPECT_FALSE(Text("#include \"odd\"\n", files).ret);

    // A file is searched for as written, then beside the file that names it, if in double quotes, then on the paths.
    const std::string folder = OSTREVAN_TEST_DATA "/shader/";
    EXPECT_EQ(Text("#include \"" + folder + "outer.h\"\n").text, "int inner;\nint outer;\n");
    EXPECT_FALSE(Text("#include \"outer.h\"\n").ret);
    Shader::addIncludePath(OSTREVAN_TEST_DATA "/shader");
    EXPECT_EQ(Text("#include <outer.h>\n").text, "int inner;\nint outer;\n");
    Shader::clearIncludePaths();

    Shader::setInclude("shared.h", "shared\n");
    EXPECT_EQ(Text("#include \"shared.h\"\n").text, "shared\n");
    EXPECT_EQ(Text("#include \"shared.h\"\n", {"shared.h", "own\n"}).text, "own\n");
    EXPECT_TRUE(Shader::removeInclude("shared.h"));
    EXPECT_FALSE(Shader::isInclude("shared.h"));
}

TEST(Preprocessor, errors_in_includes_name_the_whole_way) {
    const std::vector<std::string> files = {"c.h", "ok\n#if\n#endif\n", "b.h", "// b\n\n#include \"c.h\"\n"};
    Text run("1\n2\n3\n4\n5\n6\n#include \"b.h\"\n", files);
    EXPECT_FALSE(run.ret);
    EXPECT_EQ(run.log, "Shader::preprocessor(): invalid expression\nc.h:2: #if\n"
                       "Shader::preprocessor(): can't include \"c.h\" file\nb.h:3: #include \"c.h\"\n"
                       "Shader::preprocessor(): can't include \"b.h\" file\nmain:7: #include \"b.h\"\n");
}

TEST(Preprocessor, positions) {
    const std::vector<std::string> files = {"b.h",
                                            "first_b one;\n\n/* c\n */\nint second_b;\n#include \"c.h\"\nlast_b one;",
                                            "c.h", "\n\nfirst_c one;\nlast_c one;\n"};
    Text run("#version 450\n"
             "#define X \\\n"
             "  1\n"
             "\n"
             "int line_5;\n"
             "#include \"b.h\"\n"
             "int line_7; // c\n"
             "/* c\n"
             "*/ int line_9;\n"
             "#if 0\n"
             "dead\n"
             "#endif\n"
             "F(\n"
             ") int line_14;\n"
             "int a = \\\n"
             "line_16;\n"
             "#include \"c.h\"\n"
             "line_18",
             files);
    ASSERT_TRUE(run.ret) << run.log;
    for(const char *word : {"5", "7", "9", "14", "18"}) {
        EXPECT_EQ(run.place((std::string("line_") + word).c_str()), std::string("main:") + word);
    }
    EXPECT_EQ(run.place("#version"), "main:1");
    EXPECT_EQ(run.place("first_b"), "b.h:1");
    EXPECT_EQ(run.place("second_b"), "b.h:5");
    EXPECT_EQ(run.place("first_c"), "c.h:3");
    EXPECT_EQ(run.place("last_c"), "c.h:4");
    EXPECT_EQ(run.place("last_b"), "b.h:7");
    // the last stretch belongs to the second inclusion
    const size_t pos = run.text.rfind("last_c");
    EXPECT_EQ(run.state.get_source(uint32_t(pos)), "c.h");
    EXPECT_EQ(run.state.get_line(uint32_t(pos)), 4u);

    Shader::State empty;
    EXPECT_EQ(empty.get_line(0), ~0u);
    EXPECT_EQ(empty.get_source(0), "memory");
}

// The place of every line of a long text, against a plain count.
TEST(Preprocessor, positions_of_all_lines) {
    std::string src, inner;
    for(int i = 1; i <= 100; i++) {
        if(i % 7 == 0)
            inner += "\n";
        else if(i % 11 == 0)
            inner += "// note\n";
        else
            inner += "inner_" + std::to_string(i) + "_;\n";
    }
    for(int i = 1; i <= 300; i++) {
        if(i == 150)
            src += "#include \"inner.h\"\n";
        else if(i % 13 == 0)
            src += "#define M" + std::to_string(i) + "\n";
        else if(i % 17 == 0)
            src += "\t\n";
        else
            src += "    main_" + std::to_string(i) + "_;\n";
    }
    Text run(src, {"inner.h", inner});
    ASSERT_TRUE(run.ret);
    uint32_t count = 0;
    for(int i = 1; i <= 300; i++) {
        for(const char *file : {"main", "inner"}) {
            const std::string word = std::string(file) + "_" + std::to_string(i) + "_";
            if(run.text.find(word) == std::string::npos) continue;
            const std::string name = (file[0] == 'm') ? "main" : "inner.h";
            EXPECT_EQ(run.place(word.c_str()), name + ":" + std::to_string(i));
            count++;
        }
    }
    EXPECT_GT(count, 300u);
}

// -- Macros and pragmas by call -------------------------------------------------------------------------------------

TEST(Preprocessor, macro_lists) {
    CapturedLog log;
    Shader::State state;
    EXPECT_TRUE(
        state.set_macros(" SINGLE_SHADER=1; GROUP_SIZE=64u;; CODE=a\\; b; EMPTY ; F(x, y)=x + y;T={c; d};S=\";\";"));
    EXPECT_EQ(state.get_macro("GROUP_SIZE").value, "64u");
    EXPECT_EQ(state.get_macro("CODE").value, "a; b");
    EXPECT_EQ(state.get_macro("EMPTY").value, "");
    EXPECT_EQ(state.get_macro("T").value, "{c; d}");
    EXPECT_EQ(state.get_macro("S").value, "\";\"");
    ASSERT_EQ(state.get_macro("F").arguments.size(), 2u);
    EXPECT_EQ(state.get_macro("F").arguments[1], "y");
    EXPECT_EQ(state.get_name(), "SINGLE_SHADER");
    EXPECT_EQ(log.text(), "");

    state.set_macro("LINES", "a\nb");
    state.set_name("x//y.glsl");
    EXPECT_EQ(state.get_name(), "x//y.glsl");
    EXPECT_EQ(state.get_macros(true), "SINGLE_SHADER=1; __FILE__=x//y.glsl; CODE=a; b; EMPTY; F=x + y; "
                                      "GROUP_SIZE=64u; S=\";\"; T={c; d}\n");
    EXPECT_EQ(state.get_macros(false), "SINGLE_SHADER=1; __FILE__=x//y.glsl; CODE=a; b; EMPTY; F=x + y; "
                                       "GROUP_SIZE=64u; S=\";\"; T={c; d}; LINES=a\nb");

    EXPECT_FALSE(state.set_macros("A=1; B C"));
    EXPECT_EQ(log.take(), "Shader::State::set_macros(): invalid delimiter\nA=1; B C\n");
    EXPECT_FALSE(state.set_macro("A B", "1"));
    EXPECT_EQ(log.take(), "Shader::State::set_macro(): invalid name\nA B\n");
    EXPECT_FALSE(state.set_macro("A(b, b)", "1"));
    EXPECT_EQ(log.take(), "Shader::State::set_macro(): invalid argument names\nA(b, b)\n");
    EXPECT_FALSE(state.set_macro("A(b", "1"));
    EXPECT_EQ(log.take(), "Shader::State::set_macro(): invalid arguments\nA(b\n");
    EXPECT_FALSE(state.set_macro("9", "1"));
    EXPECT_EQ(log.take(), "Shader::State::set_macro(): can't read name\n9\n9\n");

    EXPECT_TRUE(state.removeMacro("F"));
    EXPECT_FALSE(state.isMacro("F"));
    EXPECT_FALSE(state.removeMacro("F"));
}

TEST(Preprocessor, pragmas) {
    CapturedLog log;
    Array<Shader::Pragma> pragmas;
    const String text = Shader::preprocessor(
        "#define N 4\n#pragma subgroup_size(N)\n#pragma export(a, f(b, c), \"d,)\") // e\n#pragma quiet\n", pragmas,
        "");
    EXPECT_EQ(log.text(), "");
    ASSERT_EQ(pragmas.size(), 3u);
    EXPECT_EQ(pragmas[0].name, "subgroup_size");
    ASSERT_EQ(pragmas[0].arguments.size(), 1u);
    EXPECT_EQ(pragmas[0].arguments[0], "4");
    ASSERT_EQ(pragmas[1].arguments.size(), 3u);
    EXPECT_EQ(pragmas[1].arguments[1], "f(b, c)");
    EXPECT_EQ(pragmas[1].arguments[2], "\"d,)\"");

    Text run("#pragma quiet\n#pragma quiet(1)\n");
    EXPECT_EQ(run.state.get_macros(false), "");
    EXPECT_TRUE(run.state.get_pragma("quiet").arguments.empty());
    EXPECT_EQ(run.state.get_pragma("absent").name, "");
}

TEST(Preprocessor, process_wide_macros) {
    CapturedLog log;
    Shader::setMacro("GLOBAL_I", -3);
    Shader::setMacro("GLOBAL_U", 3u);
    Shader::setMacros("GLOBAL_T=text");
    EXPECT_EQ(Shader::preprocessor("GLOBAL_I GLOBAL_U GLOBAL_T LOCAL __LINE__", "LOCAL=%d; GLOBAL_T=local", 7),
              "-3 3u local 7 __LINE__");
    EXPECT_EQ(Shader::preprocessor("#if GLOBAL_U\n#endif"), "");
    EXPECT_EQ(log.take(), "Shader::preprocessor(): invalid expression\nmemory:1: #if GLOBAL_U\n");
    EXPECT_TRUE(Shader::isMacro("GLOBAL_U"));
    EXPECT_TRUE(Shader::removeMacro("GLOBAL_U"));
    Shader::clearMacros();
    EXPECT_FALSE(Shader::isMacro("GLOBAL_I"));
    EXPECT_EQ(Shader::preprocessor("GLOBAL_I"), "GLOBAL_I");
}

// -- Hostile text ---------------------------------------------------------------------------------------------------

TEST(Preprocessor, hostile_text_ends_in_a_message) {
    std::string doubling = "#define A0 " + repeat("x", 100) + "\n", silent = "#define A0\n", chain = "#define A0 x\n";
    for(int i = 1; i < 64; i++) {
        const std::string name = std::to_string(i), prev = std::to_string(i - 1);
        doubling += "#define A" + name + " A" + prev + " A" + prev + "\n";
        silent += "#define A" + name + " A" + prev + " A" + prev + "\n";
    }
    for(int i = 1; i < 1000; i++) {
        chain += "#define A" + std::to_string(i) + " A" + std::to_string(i - 1) + "\n";
    }
    const struct {
        const char *name;
        std::string src;
        const char *log;
    } rows[] = {
        {"doubling macros", doubling + "A63\n", "macro expansion is too long"},
        {"doubling macros of nothing", silent + "A63\n", "too many macro expansions"},
        {"doubling arguments", "#define F(a) a a a a\n" + repeat("F(", 30) + "x" + repeat(")", 30), "too long"},
        {"long chain", chain + "A999\n", "too many nested macros"},
        {"nested calls", "#define F(a) a\n" + repeat("F(", 100000) + repeat(")", 100000), "too many nested macros"},
        {"macros that name each other", "#define A B\n#define B A\n#if A\n#endif\n", "invalid expression"},
        {"open brackets", "#define F(a) a\nF(" + repeat("(", 1000000), "can't read '(' to ')' region"},
        {"open conditions", repeat("#if 1\n", 100000), "unfinished conditional directive"},
        {"open parentheses in a condition", "#if " + repeat("(", 1000000) + "1\n#endif\n", "invalid expression"},
        {"long operator chain", "#if " + repeat("-", 1000001) + "1\n#endif\n", "invalid expression"},
        {"bad bytes", "\x01\xFF\x80\n#if \xFF\n", "invalid expression"},
        {"format characters", "%s%n%s%n\n#fatal %s%n%d\n", "%s%n%d\n"},
    };
    for(const auto &row : rows) {
        Text run(row.src);
        EXPECT_FALSE(run.ret) << row.name;
        EXPECT_NE(run.log.find(row.log), std::string::npos) << row.name << ": " << run.log.substr(0, 400);
    }
    Text deep(repeat("#if 1\n", 100000) + "x\n" + repeat("#endif\n", 100000));
    EXPECT_TRUE(deep.ret);
    EXPECT_EQ(deep.text, "x\n");
    EXPECT_TRUE(Text("/* no end").ret);
    EXPECT_TRUE(Text(std::string(1000000, 'a')).ret);
}

TEST(Preprocessor, hostile_includes_end_in_a_message) {
    Text self("#include \"a\"\n", {"a", "x\n#include \"a\"\n"});
    EXPECT_FALSE(self.ret);
    EXPECT_EQ(self.log, "Shader::preprocessor(): can't include \"a\" file, too many files\na:2: #include \"a\"\n"
                        "Shader::preprocessor(): can't include \"a\" file\nmain:1: #include \"a\"\n");

    std::vector<std::string> files = {"f0", "\n"};
    for(int i = 1; i < 60; i++) {
        files.push_back("f" + std::to_string(i));
        const std::string line = "#include \"f" + std::to_string(i - 1) + "\"\n";
        files.push_back(line + line);
    }
    Text twice("#include \"f59\"\n", files);
    EXPECT_FALSE(twice.ret);
    EXPECT_NE(twice.log.find("too many files"), std::string::npos);
    EXPECT_LT(twice.captured.size(), 100u);

    EXPECT_FALSE(Text("#include \"/dev/zero\"\n").ret);
    const std::string pipe = testing::TempDir() + "preprocessor_pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0); // nobody writes to it: opening it would wait for ever
    EXPECT_FALSE(Text("#include \"" + pipe + "\"\n").ret);
    remove(pipe.c_str());
    EXPECT_FALSE(Text("#include \"" OSTREVAN_TEST_DATA "\"\n").ret);
    EXPECT_FALSE(Text("#include \"\"\n").ret);
}

// Every beginning of texts that use everything: no crash, and the lines of the map stay within the text.
TEST(Preprocessor, truncated_texts) {
    std::string src;
    for(const auto &row : outputs) src += row.src;
    for(size_t size = 0; size <= src.size(); size++) {
        Text run(src.substr(0, size));
        for(uint32_t offset = 0; offset < run.text.size(); offset += 7) {
            ASSERT_LE(run.state.get_line(offset), size + 1);
        }
    }
}

// A text twice as long takes about twice the time, not four times.
TEST(Preprocessor, long_texts_stay_linear) {
    const auto measure = [](size_t count) {
        const std::string src = "#define F(a, b) (a + b)\n" + repeat("int x = F(1, F(2, 3)); // note\n\n", count);
        Shader::State state;
        String dest;
        timespec begin, end;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &begin);
        EXPECT_TRUE(Shader::preprocessor(src.c_str(), dest, state, true));
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &end);
        return double(end.tv_sec - begin.tv_sec) + double(end.tv_nsec - begin.tv_nsec) * 1e-9;
    };
    measure(1000);
    double best = 1e9;
    for(int i = 0; i < 3; i++) {
        const double half = measure(10000), full = measure(80000);
        if(full / half < best) best = full / half;
    }
    EXPECT_LT(best, 16.0); // 8 times the text
}

} // namespace
