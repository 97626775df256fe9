// The compiler of the Khronos group, as an oracle for what modules have to say.

#pragma once

#ifdef OSTREVAN_GLSLANG

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include <string>
#include <vector>

#include "KolmShader.h"

class ReferenceCompiler {
public:
    ReferenceCompiler() { glslang::InitializeProcess(); }
    ~ReferenceCompiler() { glslang::FinalizeProcess(); }

    static EShLanguage language(Kolm::Shader::Type type) {
        switch(type) {
        case Kolm::Shader::TypeVertex: return EShLangVertex;
        case Kolm::Shader::TypeControl: return EShLangTessControl;
        case Kolm::Shader::TypeEvaluate: return EShLangTessEvaluation;
        case Kolm::Shader::TypeGeometry: return EShLangGeometry;
        case Kolm::Shader::TypeFragment: return EShLangFragment;
        case Kolm::Shader::TypeTask: return EShLangTask;
        case Kolm::Shader::TypeMesh: return EShLangMesh;
        case Kolm::Shader::TypeRayGen: return EShLangRayGen;
        case Kolm::Shader::TypeRayMiss: return EShLangMiss;
        case Kolm::Shader::TypeClosest: return EShLangClosestHit;
        case Kolm::Shader::TypeFirstHit: return EShLangAnyHit;
        case Kolm::Shader::TypeIntersection: return EShLangIntersect;
        case Kolm::Shader::TypeCallable: return EShLangCallable;
        default: return EShLangCompute;
        }
    }

    /// Words of the module, empty for a failure.
    std::vector<uint32_t> compile(Kolm::Shader::Type type, const char *src) {
        const EShLanguage stage = language(type);
        const bool recent = (stage >= EShLangRayGen);
        glslang::TShader shader(stage);
        shader.setStrings(&src, 1);
        shader.setEnvInput(glslang::EShSourceGlsl, stage, glslang::EShClientVulkan, 100);
        shader.setEnvClient(glslang::EShClientVulkan,
                            recent ? glslang::EShTargetVulkan_1_2 : glslang::EShTargetVulkan_1_1);
        shader.setEnvTarget(glslang::EShTargetSpv, recent ? glslang::EShTargetSpv_1_4 : glslang::EShTargetSpv_1_3);
        const EShMessages messages = EShMessages(EShMsgSpvRules | EShMsgVulkanRules);
        std::vector<uint32_t> words;
        if(shader.parse(GetDefaultResources(), 450, false, messages)) {
            glslang::TProgram program;
            program.addShader(&shader);
            if(program.link(messages)) {
                glslang::SpvOptions options;
                options.disableOptimizer = true;
                glslang::GlslangToSpv(*program.getIntermediate(stage), words, &options);
            }
            message = program.getInfoLog();
        } else {
            message = shader.getInfoLog();
        }
        return words;
    }

    std::string message;
};

#endif
