// Cooperative matrices.
//
// Validators of this age do not know SPV_KHR_cooperative_matrix. They know the vendor's extension that came before it,
// which says the same with other words: each module is rewritten to that one and validated, and what has no counterpart
// there, which is the use of a matrix, its signs and its layout, is checked here by the rules of the extension's text.

#include "CompiledShader.h"

namespace {

enum : uint32_t {
    CapabilityKHR = 6022,
    TypeKHR = 4456,
    LoadKHR = 4457,
    StoreKHR = 4458,
    MulAddKHR = 4459,
    LengthKHR = 4460,
    CapabilityNV = 5357,
    TypeNV = 5358,
    LoadNV = 5359,
    StoreNV = 5360,
    MulAddNV = 5361,
    LengthNV = 5362,
};

struct Matrix {
    uint32_t component, scope, rows, columns, use;
};

class CooperativeModule {
public:
    explicit CooperativeModule(const SpirvModule &module) : module(module) {
        for(const auto &inst : module.instructions) {
            if(inst.opcode == 43 && inst.words.size() == 3) constants[inst.words[1]] = inst.words[2];
            if(inst.opcode == TypeKHR) {
                EXPECT_EQ(6u, inst.words.size());
                for(uint32_t i = 2; i < 6; i++) EXPECT_TRUE(constants.count(inst.words[i]));
                types[inst.words[0]] = {inst.words[1], constants[inst.words[2]], constants[inst.words[3]],
                                        constants[inst.words[4]], constants[inst.words[5]]};
            }
            // all instructions with such a result begin with its type and its id
            if(inst.words.size() > 1 && types.count(inst.words[0]) && inst.opcode != TypeKHR)
                values[inst.words[1]] = types[inst.words[0]];
        }
    }

    bool is_signed(const Matrix &matrix) const {
        const SpirvModule::Instruction *type = module.find(matrix.component);
        return type && type->opcode == 21 && type->words[2] == 1;
    }

    // What only this extension has.
    void check() {
        EXPECT_TRUE(module.hasCapability(CapabilityKHR));
        EXPECT_TRUE(module.hasExtension("SPV_KHR_cooperative_matrix"));
        EXPECT_LE(0x10300u, module.version());
        for(const auto &row : types) EXPECT_GE(2u, row.second.use);
        for(const auto &inst : module.instructions) {
            if(inst.opcode == LoadKHR || inst.opcode == StoreKHR) {
                ASSERT_LE(inst.opcode == LoadKHR ? 5u : 4u, inst.words.size());
                const uint32_t layout = inst.words[inst.opcode == LoadKHR ? 3 : 2];
                ASSERT_TRUE(constants.count(layout));
                EXPECT_GE(1u, constants[layout]);
            }
            if(inst.opcode != MulAddKHR) continue;
            ASSERT_LE(5u, inst.words.size());
            const Matrix a = values[inst.words[2]], b = values[inst.words[3]], c = values[inst.words[4]];
            EXPECT_EQ(0u, a.use);
            EXPECT_EQ(1u, b.use);
            EXPECT_EQ(2u, c.use);
            EXPECT_EQ(a.columns, b.rows);
            EXPECT_EQ(a.rows, c.rows);
            EXPECT_EQ(b.columns, c.columns);
            EXPECT_EQ(values[inst.words[1]].use, 2u);
            const uint32_t signs =
                is_signed(a) * 1 + is_signed(b) * 2 + is_signed(c) * 4 + is_signed(values[inst.words[1]]) * 8;
            EXPECT_EQ(signs, (inst.words.size() > 5 ? inst.words[5] : 0) & 15u);
        }
    }

    // The same module in the words of the older extension.
    SpirvModule rewrite() {
        const uint32_t yes = module.words[3], no = yes + 1;
        uint32_t bool_type = no + 1;
        const bool has_bool = !module.first(20).empty();
        if(has_bool) bool_type = module.first(20)[0];
        std::vector<uint32_t> words(module.words.begin(), module.words.begin() + 5);
        words[3] += 3;
        const auto add = [&](uint32_t opcode, const std::vector<uint32_t> &operands) {
            words.push_back(uint32_t(operands.size() + 1) << 16 | opcode);
            words.insert(words.end(), operands.begin(), operands.end());
        };
        bool declared = false;
        for(const auto &inst : module.instructions) {
            const std::vector<uint32_t> &w = inst.words;
            if(inst.opcode == 54 && !declared) { // in front of the functions
                if(!has_bool) add(20, {bool_type});
                add(41, {bool_type, yes});
                add(42, {bool_type, no});
                declared = true;
            }
            const auto layout = [&](uint32_t i) { return constants[w[i]] ? yes : no; };
            switch(inst.opcode) {
            case 17: add(17, {w[0] == CapabilityKHR ? CapabilityNV : w[0]}); break;
            case 10: {
                std::vector<uint32_t> name = w;
                char *text = reinterpret_cast<char *>(name.data());
                if(SpirvModule::text(inst, 0) == "SPV_KHR_cooperative_matrix") {
                    name.assign(7, 0);
                    text = reinterpret_cast<char *>(name.data());
                    strcpy(text, "SPV_NV_cooperative_matrix");
                }
                add(10, name);
                break;
            }
            case TypeKHR: add(TypeNV, {w[0], w[1], w[2], w[3], w[4]}); break;
            case LoadKHR: add(LoadNV, {w[0], w[1], w[2], w[4], layout(3)}); break;
            case StoreKHR: add(StoreNV, {w[0], w[1], w[3], layout(2)}); break;
            case MulAddKHR: add(MulAddNV, {w[0], w[1], w[2], w[3], w[4]}); break;
            case LengthKHR: add(LengthNV, w); break;
            default: add(inst.opcode, w); break;
            }
        }
        return SpirvModule(words.data(), words.size());
    }

private:
    const SpirvModule &module;
    std::map<uint32_t, uint32_t> constants;
    std::map<uint32_t, Matrix> types, values;
};

const struct {
    const char *name;
    const char *globals;
    const char *body;
} programs[] = {
    {"product of halves",
     "layout(binding = 0) buffer A { float16_t a[]; }; layout(binding = 1) buffer B { float16_t b[]; };"
     "layout(binding = 2) buffer C { float c[]; };",
     "coopmat<float16_t, gl_ScopeSubgroup, 16, 8, gl_MatrixUseA> x;"
     "coopmat<float16_t, gl_ScopeSubgroup, 8, 4, gl_MatrixUseB> y;"
     "coopmat<float, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator> z;"
     "coopMatLoad(x, a, 0, 8, gl_CooperativeMatrixLayoutRowMajor);"
     "coopMatLoad(y, b, gl_WorkGroupID.x * 32u, 4u, gl_CooperativeMatrixLayoutColumnMajor);"
     "coopMatLoad(z, c, 0, 4, 0);"
     "z = coopMatMulAdd(x, y, z);"
     "coopMatStore(z, c, 0, 4, gl_CooperativeMatrixLayoutRowMajor);"},
    {"signed and unsigned", "layout(binding = 0) buffer A { int a[]; }; layout(binding = 1) buffer B { uint b[]; };",
     "coopmat<int, gl_ScopeSubgroup, 16, 8, gl_MatrixUseA> x; coopmat<uint, gl_ScopeSubgroup, 8, 4, gl_MatrixUseB> y;"
     "coopmat<int, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator> z;"
     "coopMatLoad(x, a, 0, 8, 0); coopMatLoad(y, b, 0, 4, 1); coopMatLoad(z, a, 64, 4, 0);"
     "z = coopMatMulAdd(x, y, z, gl_MatrixOperandsSaturatingAccumulation); coopMatStore(z, a, 64, 4, 0);"},
    {"arithmetic, element by element", "layout(binding = 0) buffer A { float a[]; };",
     "coopmat<float, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator> x =\n"
     "coopmat<float, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator>(1.5);"
     "coopmat<float, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator> y;"
     "coopMatLoad(y, a, 0, 4, 0);"
     "x = x + y; x = x - y; x = -x; x = x / y; x = x * 2.0;"
     "coopMatStore(x, a, 0, 4, 0);"},
    {"conversions", "layout(binding = 0) buffer A { float a[]; }; layout(binding = 1) buffer B { float16_t b[]; };",
     "coopmat<float, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator> x;"
     "coopMatLoad(x, a, 0, 4, 0);"
     "coopmat<float16_t, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator> h =\n"
     "coopmat<float16_t, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator>(x);"
     "coopMatStore(h, b, 0, 4, 0);"},
    {"elements and their number", "layout(binding = 0) buffer A { float a[]; };",
     "coopmat<float, gl_ScopeSubgroup, 16, 4, gl_MatrixUseAccumulator> x;"
     "coopMatLoad(x, a, 0, 4, 0);"
     "for(int i = 0; i < x.length(); i++) x[i] = max(x[i], 0.0);"
     "coopMatStore(x, a, 0, 4, 0);"},
    {"shared memory, and a function",
     "shared float16_t tile[128]; const int N = 8; layout(binding = 0) buffer A { float16_t a[]; } list[2];"
     "void scale(inout coopmat<float16_t, gl_ScopeSubgroup, 16, N, gl_MatrixUseA> m) { m = m * float16_t(0.5); }",
     "coopmat<float16_t, gl_ScopeSubgroup, 16, N, gl_MatrixUseA> x;"
     "coopMatLoad(x, list[1].a, 0, 8, 0); scale(x); coopMatStore(x, tile, gl_LocalInvocationIndex, 8, 0);"},
    {"loops of tiles", "layout(binding = 0) buffer A { float a[]; }; layout(binding = 1) uniform U { uint k; };",
     "coopmat<float, gl_ScopeSubgroup, 8, 16, gl_MatrixUseA> x; coopmat<float, gl_ScopeSubgroup, 16, 4, gl_MatrixUseB> "
     "y;"
     "coopmat<float, gl_ScopeSubgroup, 8, 4, gl_MatrixUseAccumulator> z[2];"
     "for(int i = 0; i < 2; i++) z[i] = coopmat<float, gl_ScopeSubgroup, 8, 4, gl_MatrixUseAccumulator>(0.0);"
     "for(uint i = 0u; i < k; i += 16u) { coopMatLoad(x, a, i, k, 0); coopMatLoad(y, a, i * 4u, 4u, 1);"
     " z[0] = coopMatMulAdd(x, y, z[0]); z[1] = coopMatMulAdd(x, y, z[0]); }"
     "for(uint i = 0u; i < 2u; i++) coopMatStore(z[i], a, i * 32u, 4u, 0);"},
};

} // namespace

TEST(CompilerCooperative, modules_follow_the_extension) {
    Kolm::Compiler compiler;
    for(const auto &row : programs) {
        SCOPED_TRACE(row.name);
        const std::string src =
            "layout(local_size_x = 32) in;\n" + std::string(row.globals) + "\nvoid main() {\n" + row.body + "\n}\n";
        CapturedLog captured;
        uint32_t offset = 0;
        ASSERT_TRUE(compiler.compileGLSL(Kolm::Shader::TypeCompute, src.c_str(), nullptr, offset))
            << compiler.getMessage().get();
        const SpirvModule module(compiler.getOpcodes().get(), compiler.getOpcodes().size());
        CooperativeModule cooperative(module);
        cooperative.check();
        EXPECT_TRUE(cooperative.rewrite().validate());
    }
}
