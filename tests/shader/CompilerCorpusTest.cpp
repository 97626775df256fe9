// Whole shaders in the way of applications, of all stages: each compiles to a module that validates and that is about
// as large as the reference compiler's.

#include "CompiledShader.h"
#include "ReferenceCompiler.h"
#include "ShaderStages.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

const struct {
    const char *extension;
    Kolm::Shader::Type type;
} extensions[] = {
    {".vert", Kolm::Shader::TypeVertex},       {".tesc", Kolm::Shader::TypeControl},
    {".tese", Kolm::Shader::TypeEvaluate},     {".geom", Kolm::Shader::TypeGeometry},
    {".frag", Kolm::Shader::TypeFragment},     {".comp", Kolm::Shader::TypeCompute},
    {".task", Kolm::Shader::TypeTask},         {".mesh", Kolm::Shader::TypeMesh},
    {".rgen", Kolm::Shader::TypeRayGen},       {".rmiss", Kolm::Shader::TypeRayMiss},
    {".rchit", Kolm::Shader::TypeClosest},     {".rahit", Kolm::Shader::TypeFirstHit},
    {".rint", Kolm::Shader::TypeIntersection}, {".rcall", Kolm::Shader::TypeCallable},
};

} // namespace

TEST(CompilerCorpus, compiles) {
    uint32_t count = 0;
#ifdef OSTREVAN_GLSLANG
    ReferenceCompiler reference;
#endif
    for(const auto &entry : std::filesystem::directory_iterator(OSTREVAN_TEST_DATA "/shader/corpus")) {
        for(const auto &row : extensions) {
            if(entry.path().extension() != row.extension) continue;
            SCOPED_TRACE(entry.path().filename().string());
            std::ifstream file(entry.path());
            const std::string src(std::istreambuf_iterator<char>(file), {});
            const Kolm::String text = Kolm::Shader::preprocessor(src.c_str(), Kolm::String("KOLM_GLSL=1"));
            const CompiledShader shader(row.type, text.get());
            ASSERT_TRUE(shader.ok) << shader.message;
            count++;
#ifdef OSTREVAN_GLSLANG
            const size_t size = reference.compile(row.type, src.c_str()).size();
            ASSERT_NE(0u, size) << reference.message;
            EXPECT_LE(shader.module.words.size(), size + size / 10);
#endif
        }
    }
    EXPECT_LE(120u, count);
}
