// Folding: what constant expressions come to, in bodies and in declarations, bit for bit; and what is left of operations
// whose result is known without computing.

#include "CompiledShader.h"

#include <math.h>

namespace {

uint32_t bits(float value) {
    uint32_t ret;
    memcpy(&ret, &value, sizeof(ret));
    return ret;
}

// Value of the last store, if it is a constant of one word.
bool get_stored(const SpirvModule &module, uint32_t &value) {
    std::vector<uint32_t> store;
    for(const auto &inst : module.instructions) {
        if(inst.opcode == 62) store = inst.words;
    }
    for(const auto &inst : module.instructions) {
        if(store.empty() || inst.words.size() < 2 || inst.words[1] != store[1]) continue;
        if(inst.opcode == 41 || inst.opcode == 42) value = (inst.opcode == 41);
        if(inst.opcode == 43) value = inst.words[2];
        if(inst.opcode == 41 || inst.opcode == 42 || inst.opcode == 43) return true;
    }
    return false;
}

const struct {
    const char *type;
    const char *expression;
    uint32_t value;
} rows[] = {
    {"int", "1 + 2 * 3", 7},
    {"int", "(1 + 2) * 3", 9},
    {"int", "10 - 4 - 3", 3},
    {"int", "2147483647 + 1", 0x80000000},
    {"bool", "2147483647 + 1 < 0", 1},
    {"uint", "(0u - 1u) >> 1", 0x7FFFFFFF},
    {"uint", "4294967295u * 4294967295u", 1},
    {"uint", "4294967295u + 2", 1},
    {"int", "-7 / 2", uint32_t(-3)},
    {"int", "7 % 4", 3},
    {"int", "1 / 0", 0},
    {"int", "1 % 0", 0},
    {"uint", "5u / 0u", 0},
    {"int", "(-2147483647 - 1) / -1", 0x80000000},
    {"int", "(-2147483647 - 1) % -1", 0},
    {"int", "-8 >> 1", uint32_t(-4)},
    {"int", "1 << 31", 0x80000000},
    {"uint", "0xF0F0F0F0u >> 4", 0x0F0F0F0F},
    {"int", "6 & 3 | 8 ^ 1", (6 & 3) | (8 ^ 1)},
    {"int", "~5", uint32_t(~5)},
    {"int", "- 5", uint32_t(-5)},
    {"int", "017 + 0x1F + 10", 15 + 31 + 10},
    {"float", "1.5e3", bits(1.5e3f)},
    {"float", "0.1", bits(0.1f)},
    {"float", ".5f", bits(0.5f)},
    {"float", "1e-45", bits(1e-45f)},
    {"float", "3.4028235e38", bits(3.4028235e38f)},
    {"float", "0x1.8p1", bits(3.0f)},
    {"bool", "123456789012345678901234567890.0lf == 1.2345678901234568e29lf", 1},
    {"float", "1.0 / 3.0", bits(1.0f / 3.0f)},
    {"float", "1 + 0.5", bits(1.5f)},
    {"float", "-2.5 * 4.0", bits(-10.0f)},
    {"float", "16777217", bits(16777216.0f)},
    {"int", "int(3.9)", 3},
    {"int", "int(-3.9)", uint32_t(-3)},
    {"uint", "uint(-1)", 0xFFFFFFFF},
    {"int", "int(4294967295u)", 0xFFFFFFFF},
    {"int", "int(true) + int(false)", 1},
    {"bool", "bool(2)", 1},
    {"bool", "bool(0.0)", 0},
    {"bool", "1 < 2", 1},
    {"bool", "-1 < 0", 1},
    {"bool", "4294967295u < 0u", 0},
    {"bool", "1.5 >= 1.5", 1},
    {"bool", "true && false || true", 1},
    {"bool", "!(1 == 2)", 1},
    {"bool", "true != false", 1},
    {"bool", "true ^^ true", 0},
    {"int", "true ? 1 : 2", 1},
    {"int", "1 > 2 ? 3 : 4 > 3 ? 5 : 6", 5},
    {"float", "vec3(1, 2, 3).y", bits(2.0f)},
    {"float", "vec4(1, 2, 3, 4).wzyx.x", bits(4.0f)},
    {"float", "mat2(1, 2, 3, 4)[1].x", bits(3.0f)},
    {"float", "mat3(2.0)[2][2]", bits(2.0f)},
    {"int", "int[3](4, 5, 6)[2]", 6},
    {"bool", "vec2(1, 2) == vec2(1, 2)", 1},
    {"bool", "ivec2(1, 2) != ivec2(1, 3)", 1},
    {"int", "ivec3(1, 2, 3).length()", 3},
};

} // namespace

TEST(CompilerFold, expressions_of_bodies) {
    for(const auto &row : rows) {
        const std::string type = row.type;
        const CompiledShader shader = compile_compute("", "{ " + type + " r = " + std::string(row.expression) + "; }");
        ASSERT_TRUE(shader.ok) << row.expression << ": " << shader.message;
        uint32_t value = 0;
        EXPECT_TRUE(get_stored(shader.module, value)) << row.expression;
        EXPECT_EQ(value, row.value) << row.expression;
    }
}

TEST(CompilerFold, expressions_of_declarations) {
    for(const auto &row : rows) {
        const std::string type = row.type;
        const CompiledShader shader =
            compile_compute("const " + type + " c = " + row.expression + ";", type + " r = c;");
        ASSERT_TRUE(shader.ok) << row.expression << ": " << shader.message;
        uint32_t value = 0;
        EXPECT_TRUE(get_stored(shader.module, value)) << row.expression;
        EXPECT_EQ(value, row.value) << row.expression;
    }
}

TEST(CompilerFold, functions_of_declarations) {
    const struct {
        const char *expression;
        double value;
    } functions[] = {
        {"radians(90.0)", 1.5707963267948966},
        {"degrees(1.0)", 57.29577951308232},
        {"sin(0.5)", sin(0.5)},
        {"cos(0.5)", cos(0.5)},
        {"tan(0.5)", tan(0.5)},
        {"asin(0.5)", asin(0.5)},
        {"acos(0.5)", acos(0.5)},
        {"atan(0.5)", atan(0.5)},
        {"atan2(1.0, 2.0)", atan2(1, 2)},
        {"exp2(3.0)", 8},
        {"log2(8.0)", 3},
        {"sqrt(2.0)", sqrt(2.0)},
        {"pow(2.0, 0.5)", sqrt(2.0)},
        {"floor(-1.5)", -2},
        {"fract(1.25)", 0.25},
        {"abs(-2.5)", 2.5},
        {"min(1.0, 2.0)", 1},
        {"clamp(5.0, 0.0, 2.0)", 2},
        {"mix(1.0, 3.0, 0.25)", 1.5},
        {"normalize(vec2(3, 4)).y", 0.8},
        {"length(vec2(3, 4))", 5},
        {"dot(vec2(1, 2), vec2(3, 4))", 11},
        {"cross(vec3(1, 0, 0), vec3(0, 1, 0)).z", 1},
        {"transpose(mat2(1, 2, 3, 4))[0].y", 3},
        {"(mat2(1, 2, 3, 4) * vec2(1, 1)).y", 6},
        {"(vec2(1, 1) * mat2(1, 2, 3, 4)).y", 7},
        {"max(3, 4)", 4},
    };
    for(const auto &row : functions) {
        const CompiledShader shader =
            compile_compute("const float c = float(" + std::string(row.expression) + ");", "float r = c;");
        ASSERT_TRUE(shader.ok) << row.expression << ": " << shader.message;
        uint32_t value = 0;
        ASSERT_TRUE(get_stored(shader.module, value)) << row.expression;
        float number;
        memcpy(&number, &value, sizeof(number));
        EXPECT_NEAR(number, row.value, 1e-6 * fmax(1.0, fabs(row.value))) << row.expression;
    }
}

// The operand that is left, or a constant. Which instructions stay is counted.
TEST(CompilerFold, redundant_operands) {
    const struct {
        const char *statement;
        uint32_t opcode;
        size_t count;
    } redundant[] = {
        {"f = f * 0.0;", 133, 0},       {"f = f * 1.0;", 133, 0},   {"f = 1.0 * f;", 133, 0},
        {"f = f + 0.0;", 129, 0},       {"f = 0.0 - f;", 131, 1},   {"f = f - 0.0;", 131, 0},
        {"f = f / 1.0;", 136, 0},       {"f = 1.0 / f;", 136, 1},   {"i = i + 0;", 128, 0},
        {"i = 0 + i;", 128, 0},         {"i = i * 1;", 132, 0},     {"i = i * 0;", 132, 0},
        {"i = i << 0;", 196, 0},        {"i = i >> 0;", 195, 1},    {"u = u >> 0;", 194, 0},
        {"i = i | 0;", 197, 0},         {"i = i ^ 0;", 198, 1},     {"i = i & 0;", 199, 0},
        {"i = i / 1;", 135, 0},         {"u = u / 1u;", 134, 0},    {"b = b && true;", 167, 0},
        {"b = b && false;", 167, 0},    {"b = b || true;", 166, 0}, {"b = b || false;", 166, 0},
        {"v = v * vec3(0.0);", 133, 0}, {"v = v * 1.0;", 142, 0},   {"v = 2.0 * v;", 133, 1},
        {"i = 1 + 2;", 128, 1}, // kept: the instruction stays, unused
    };
    for(const auto &row : redundant) {
        const CompiledShader shader =
            compile_compute("", std::string("float f; int i; uint u; bool b; vec3 v; ") + row.statement);
        ASSERT_TRUE(shader.ok) << row.statement << ": " << shader.message;
        EXPECT_EQ(shader.module.count(row.opcode), row.count) << row.statement;
    }
}
