include_guard(GLOBAL)

# Independent tools that tests and benchmarks compare with, each an interface target that is empty where it is missing.

# The validator of SPIR-V, as a library.
add_library(oracle_spirv INTERFACE)
find_path(SPIRV_TOOLS_HEADERS spirv-tools/libspirv.hpp)
find_library(SPIRV_TOOLS_LIBRARY SPIRV-Tools)
if(SPIRV_TOOLS_HEADERS AND SPIRV_TOOLS_LIBRARY)
    target_compile_definitions(oracle_spirv INTERFACE OSTREVAN_SPIRV_TOOLS)
    target_include_directories(oracle_spirv SYSTEM INTERFACE ${SPIRV_TOOLS_HEADERS})
    target_link_libraries(oracle_spirv INTERFACE ${SPIRV_TOOLS_LIBRARY})
endif()

# The reference compiler of GLSL.
add_library(oracle_glslang INTERFACE)
find_path(GLSLANG_HEADERS glslang/Public/ShaderLang.h)
set(libraries)
set(complete TRUE)
foreach(name glslang MachineIndependent GenericCodeGen OGLCompiler OSDependent SPIRV glslang-default-resource-limits
             SPIRV-Tools-opt SPIRV-Tools)
    find_library(GLSLANG_${name}_LIBRARY ${name})
    if(GLSLANG_${name}_LIBRARY)
        list(APPEND libraries ${GLSLANG_${name}_LIBRARY})
    elseif(name STREQUAL glslang OR name STREQUAL SPIRV)
        set(complete FALSE)
    endif()
endforeach()
if(GLSLANG_HEADERS AND complete)
    target_compile_definitions(oracle_glslang INTERFACE OSTREVAN_GLSLANG)
    target_include_directories(oracle_glslang SYSTEM INTERFACE ${GLSLANG_HEADERS})
    # built without type information, which the check of virtual calls needs
    target_compile_options(oracle_glslang INTERFACE -fno-sanitize=vptr)
    # static libraries that need each other
    target_link_libraries(oracle_glslang INTERFACE -Wl,--start-group ${libraries} -Wl,--end-group Threads::Threads)
endif()

# Readers of JSON, headers only.
add_library(oracle_json INTERFACE)
find_path(RAPIDJSON_HEADERS rapidjson/document.h)
if(RAPIDJSON_HEADERS)
    target_compile_definitions(oracle_json INTERFACE OSTREVAN_RAPIDJSON)
    target_include_directories(oracle_json SYSTEM INTERFACE ${RAPIDJSON_HEADERS})
endif()
find_path(NLOHMANN_HEADERS nlohmann/json.hpp)
if(NLOHMANN_HEADERS)
    target_compile_definitions(oracle_json INTERFACE OSTREVAN_NLOHMANN)
    target_include_directories(oracle_json SYSTEM INTERFACE ${NLOHMANN_HEADERS})
endif()

# Vectors and matrices: headers only.
foreach(name glm Eigen)
    string(TOLOWER ${name} target)
    string(TOUPPER ${name} macro)
    add_library(oracle_${target} INTERFACE)
    find_path(${macro}_HEADERS NAMES ${name}/${name} ${name}/${name}.hpp PATH_SUFFIXES eigen3)
    if(${macro}_HEADERS)
        target_compile_definitions(oracle_${target} INTERFACE OSTREVAN_${macro})
        target_include_directories(oracle_${target} SYSTEM INTERFACE ${${macro}_HEADERS})
    endif()
endforeach()
