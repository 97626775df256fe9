// Sampling, images and their queries.
//
// The arguments of a sampling function, in the order of the language:
//
//     sampler, coordinates [, reference] [, lod | dx, dy | sample] [, offset] [, texel] [, bias | component]
//
// The reference of a comparison lies in the coordinates where they have room. Outside of fragment shaders there are no
// derivatives, so what has no level of its own takes level 0.

#include "KolmCompilerFunction.h"

namespace Kolm {

// Coordinates without the layer.
uint32_t Compiler::get_image_dimensions(Flags flags) {
    if(flags & FlagImageBuffer) return 1;
    return (flags & (FlagImage3D | FlagImageCube)) ? 3 : 2;
}

// The first components of an argument, cast to a format.
uint32_t Compiler::add_coordinates(Call &call, uint32_t index, uint32_t size, Flags format) {
    static constexpr uint8_t indices[4] = {0, 1, 2, 3};
    if(index >= call.args.size()) call.unknown();
    uint32_t value = load(call.args[index], call.func);
    const Flags flags = get_target_flags(value);
    const bool plain = (flags & (FlagFloat | FlagInteger)) && (flags & (FlagArray | FlagStructure | FlagMatrix)) == 0;
    if(!plain || is_opaque_type(get_type(value)) || get_type_width(flags) < size) call.invalid();
    if((format & FlagInteger) && (flags & FlagFloat)) call.invalid();
    value = add_cast_opcodes(call.func, format, value);
    return (get_type_width(flags) > size) ? add_shuffle(value, indices, size, call.func) : value;
}

// An instruction whose result is a residency code and a texel. The texel is stored, the code is returned.
uint32_t Compiler::add_sparse(Call &call, SpvOp opcode, uint32_t type, const Array<uint32_t> &words,
                              const Operand &place) {
    if(!place.place()) call.invalid();
    add_capability(SpvCapabilitySparseResidency);
    const uint32_t code_type = add_type(FlagSInt | Flag32Bit | FlagScalar);
    const uint32_t pair = add_value(call.func, opcode, get_pair_type(code_type, type), words);
    store(place, add_value(call.func, SpvOpCompositeExtract, type, {pair, 1}), call.func);
    return add_value(call.func, SpvOpCompositeExtract, code_type, {pair, 0});
}

// A texture and a sampler joined. The shadow of the sampler is kept with the value: the type is the texture's.
uint32_t Compiler::add_sampled_image(uint32_t image, uint32_t sampler, Function &func) {
    const Flags flags = get_target_flags(image);
    if((flags & FlagImageTexture) == 0 || (flags & FlagSampledImage) || (flags & FlagArray)) return ~0u;
    if((get_target_flags(sampler) & FlagSampler) == 0) return ~0u;
    const String name = get_internal_type_name(get_type(image));
    StringStack<64> type("sampler");
    if(!name.begins("texture")) return ~0u;
    type.append(name.get() + 7);
    return add_value(func, SpvOpSampledImage, add_type(type), {image, sampler});
}

uint32_t Compiler::add_sampler_call(Call &call) {
    call.check_count(2);
    const uint32_t image = load(call.args[0], call.func);
    const uint32_t sampler = load(call.args[1], call.func);
    const uint32_t value = add_sampled_image(image, sampler, call.func);
    if(value == ~0u) call.invalid();
    // The shape must be that of the function's name.
    const Flags flags = get_target_flags(image);
    StringStack<64> name(call.name());
    // The plain names take textures of integers too.
    const char *const letter = name.get();
    if((*letter == 'i' && (flags & FlagSInt) == 0) || (*letter == 'u' && (flags & FlagUInt) == 0))
        Parser::error("invalid %s for %s\n", get_target_type_name(image).get(), call.name());
    if(*letter != 's') name.remove(0);
    constexpr Flags shape = FlagImage | FlagImageArray | FlagImageMultisample;
    Flags wanted = name.begins("sampler2D") ? FlagImage2D : name.begins("sampler3D") ? FlagImage3D : FlagImageCube;
    if(name.contains("Array")) wanted |= FlagImageArray;
    if(name.contains("MS")) wanted |= FlagImageMultisample;
    if((flags & shape) != wanted) Parser::error("invalid %s for %s\n", get_target_type_name(image).get(), call.name());
    if(name.contains("Shadow")) targets.get(value)->flags |= FlagImageShadow;
    return value;
}

uint32_t Compiler::add_texture_call(Call &call) {
    Function &func = call.func;
    const uint32_t form = call.row.param;
    if(call.args.size() < 2) call.unknown();
    uint32_t image = load(call.args[0], func);
    const Flags flags = get_target_flags(image);
    const bool sampled = (flags & FlagSampledImage);
    const bool fetch = (form & TextureFetch);
    const bool gather = (form & TextureGather);
    const bool shadow = (flags & FlagImageShadow);
    const bool multisample = (flags & FlagImageMultisample);
    const bool sparse = (form & TextureSparse);
    const bool buffer = (flags & FlagImageBuffer);
    if((flags & (FlagImage | FlagImageBuffer)) == 0 || (flags & FlagArray) ||
       (flags & (FlagImageTexture | FlagSampledImage)) == 0)
        Parser::error("unknown image type %s\n", get_target_type_name(image).get());
    if((!sampled && !fetch) || (fetch && shadow) || (!fetch && (multisample || buffer))) call.invalid();
    const uint32_t dimensions = get_image_dimensions(flags);
    const uint32_t size = dimensions + ((flags & FlagImageArray) ? 1 : 0);
    const Flags f32 = FlagFloat | Flag32Bit;
    const Flags i32 = FlagSInt | Flag32Bit;
    uint32_t next = 1; // argument to read

    // Coordinates and reference.
    bool projective = (form & TextureProj);
    uint32_t coordinates = ~0u;
    uint32_t reference = ~0u;
    if(projective) {
        if(flags & (FlagImageCube | FlagImageArray)) call.invalid();
        const uint32_t width = get_type_width(get_target_flags(get_operand_type(call.args[1])));
        if(width <= dimensions || (shadow && width != 4)) call.invalid();
        const uint32_t value = add_coordinates(call, next++, width, f32);
        if(shadow) reference = add_extract_opcode(func, value, 2);
        if(sparse || shadow) {
            // Divided here: there is no such instruction, or its reference would have to be.
            const uint32_t q = add_extract_opcode(func, value, width - 1);
            static constexpr uint8_t indices[4] = {0, 1, 2, 3};
            coordinates = add_operator(CodeDiv, add_shuffle(value, indices, dimensions, func), q, func);
            if(shadow) reference = add_operator(CodeDiv, reference, q, func);
            projective = false;
        } else {
            uint8_t indices[4] = {0, 1, 2, 3};
            indices[dimensions] = uint8_t(width - 1);
            coordinates = add_shuffle(value, indices, dimensions + 1, func);
        }
    } else {
        const bool inside = shadow && !gather && size < 4;
        const uint32_t value = add_coordinates(call, next++, inside ? size + 1 : size, fetch ? i32 : f32);
        coordinates = value;
        if(inside) {
            static constexpr uint8_t indices[4] = {0, 1, 2, 3};
            reference = add_extract_opcode(func, value, size);
            coordinates = add_shuffle(value, indices, size, func);
        } else if(shadow) {
            reference = add_coordinates(call, next++, 1, f32);
        }
    }

    // Image operands, in the order of their bits.
    uint32_t mask = 0;
    uint32_t lod = ~0u, dx = ~0u, dy = ~0u, offset = ~0u, bias = ~0u, sample = ~0u;
    if(form & TextureLod) lod = add_coordinates(call, next++, 1, f32);
    if(form & TextureGrad) {
        dx = add_coordinates(call, next++, dimensions, f32);
        dy = add_coordinates(call, next++, dimensions, f32);
    }
    if(fetch && multisample)
        sample = add_coordinates(call, next++, 1, i32);
    else if(fetch && !buffer)
        lod = add_coordinates(call, next++, 1, i32);
    if(form & TextureOffset) offset = add_coordinates(call, next++, dimensions, i32);
    if(form & TextureOffsets) {
        // Four offsets, which are constant.
        if(next >= call.args.size()) call.unknown();
        offset = load(call.args[next++], func);
        if(get_constant(offset) == nullptr || get_target_length(get_type(offset)) != 4) call.invalid();
    }
    Operand texel;
    if(sparse) {
        if(next >= call.args.size()) call.unknown();
        texel = call.args[next++];
    }
    uint32_t component = ~0u;
    if(next < call.args.size() && gather && !shadow) {
        component = add_constanti32(int32_t(get_constant_argument(call, next++)));
    } else if(next < call.args.size() && !gather && !fetch && lod == ~0u && dx == ~0u) {
        bias = add_coordinates(call, next++, 1, f32);
    }
    if(next < call.args.size()) Parser::error("too many arguments for %s\n", call.name());

    const bool implicit = !fetch && !gather && lod == ~0u && dx == ~0u;
    const bool derivatives = (execution_model == SpvExecutionModelFragment);
    if(implicit && !derivatives) {
        lod = add_constantf64(f32 | FlagScalar, 0.0);
        bias = ~0u;
    }
    ArrayStack<uint32_t, 8> operands;
    if(bias != ~0u) {
        mask |= SpvImageOperandsBias;
        operands.append(bias);
    }
    if(lod != ~0u) {
        mask |= SpvImageOperandsLod;
        operands.append(lod);
    }
    if(dx != ~0u) {
        mask |= SpvImageOperandsGrad;
        operands.append(dx);
        operands.append(dy);
    }
    if(offset != ~0u) {
        const bool constant = (get_constant(offset) != nullptr);
        if(!constant && !gather) call.invalid();
        if((form & TextureOffsets) && (!constant || get_type(offset) != add_type("i32v2", 4))) call.invalid();
        if(!constant || (form & TextureOffsets)) add_capability(SpvCapabilityImageGatherExtended);
        mask |= (form & TextureOffsets) ? SpvImageOperandsConstOffsets
                : constant              ? SpvImageOperandsConstOffset
                                        : SpvImageOperandsOffset;
        operands.append(offset);
    }
    if(sample != ~0u) {
        mask |= SpvImageOperandsSample;
        operands.append(sample);
    }

    // The instruction: the forms of sampling stand in a row, and so do their sparse twins.
    const bool comparison = (reference != ~0u);
    const Flags format = flags & (FlagFormat | FlagBits);
    uint32_t opcode = SpvOpNop;
    if(fetch) {
        opcode = sparse ? SpvOpImageSparseFetch : SpvOpImageFetch;
        if(sampled) image = add_value(func, SpvOpImage, get_target_type(get_type(image)), {image});
    } else if(gather) {
        opcode = (sparse ? SpvOpImageSparseGather : SpvOpImageGather) + (comparison ? 1 : 0);
        if(!comparison && component == ~0u) component = add_constanti32(0);
    } else {
        opcode = sparse ? SpvOpImageSparseSampleImplicitLod : SpvOpImageSampleImplicitLod;
        opcode += (projective ? 4 : 0) + (comparison ? 2 : 0) + ((implicit && derivatives) ? 0 : 1);
    }
    const bool scalar = comparison && !gather;
    const uint32_t type = add_type(get_vector_flags(scalar ? f32 : format, scalar ? 1 : 4));
    ArrayStack<uint32_t, 12> words;
    words.append(image);
    words.append(coordinates);
    if(comparison) words.append(reference);
    if(component != ~0u) words.append(component);
    if(mask) {
        words.append(mask);
        words.append(operands);
    }
    uint32_t result = ~0u;
    if(sparse) {
        result = add_sparse(call, SpvOp(opcode), type, words, texel);
    } else {
        result = add_value(func, SpvOp(opcode), type, words);
    }
    return result;
}

// -- Images -----------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_image_call(Call &call) {
    Function &func = call.func;
    const bool is_store = (call.row.family == FamilyImageStore);
    const bool sparse = (call.row.param & TextureSparse);
    if(call.args.size() < 2) call.unknown();
    const uint32_t image = load(call.args[0], func);
    const Flags flags = get_target_flags(image);
    if((flags & (FlagImage | FlagImageBuffer)) == 0 || (flags & (FlagArray | FlagImageTexture | FlagSampledImage)))
        Parser::error("unknown image type %s\n", get_target_type_name(image).get());
    uint32_t size = get_image_dimensions(flags);
    if((flags & FlagImageArray) && (flags & FlagImageCube) == 0) size += 1; // faces of cubes are layers
    const Flags i32 = FlagSInt | Flag32Bit;
    uint32_t next = 1;
    ArrayStack<uint32_t, 8> words;
    words.append(image);
    words.append(add_coordinates(call, next++, size, i32));
    uint32_t sample = ~0u;
    if(flags & FlagImageMultisample) sample = add_coordinates(call, next++, 1, i32);
    const uint32_t type = add_type(get_vector_flags(flags, 4));
    Operand texel;
    if(is_store) {
        if(next >= call.args.size()) call.unknown();
        const uint32_t value = add_convert_opcodes(func, type, load(call.args[next++], func));
        if(value == ~0u) call.invalid();
        words.append(value);
    } else if(sparse) {
        if(next >= call.args.size()) call.unknown();
        texel = call.args[next++];
    }
    if(next < call.args.size()) Parser::error("too many arguments for %s\n", call.name());
    if(sample != ~0u) {
        words.append(uint32_t(SpvImageOperandsSample));
        words.append(sample);
    }
    if((flags & FlagImageFormat) == 0)
        add_capability(is_store ? SpvCapabilityStorageImageWriteWithoutFormat
                                : SpvCapabilityStorageImageReadWithoutFormat);
    if(is_store) {
        add_opcode(func, SpvOpImageWrite, {}, words);
        return ~0u;
    }
    if(sparse) return add_sparse(call, SpvOpImageSparseRead, type, words, texel);
    return add_value(func, SpvOpImageRead, type, words);
}

uint32_t Compiler::add_query_image_call(Call &call) {
    Function &func = call.func;
    const Family family = call.row.family;
    if(call.args.empty()) call.unknown();
    uint32_t image = load(call.args[0], func);
    const Flags flags = get_target_flags(image);
    if((flags & (FlagImage | FlagImageBuffer)) == 0 || (flags & FlagArray))
        Parser::error("unknown image type %s\n", get_target_type_name(image).get());
    const Flags i32 = FlagSInt | Flag32Bit;
    const bool texture = (flags & (FlagImageTexture | FlagSampledImage));
    const bool multisample = (flags & FlagImageMultisample);
    add_capability(SpvCapabilityImageQuery);
    if(family == FamilyTextureQuery) {
        call.check_count(2);
        if((flags & FlagSampledImage) == 0) call.invalid();
        if(execution_model != SpvExecutionModelFragment) Parser::error("instruction is not valid\n");
        const uint32_t coordinates = add_coordinates(call, 1, get_image_dimensions(flags), FlagFloat | Flag32Bit);
        return add_value(func, SpvOpImageQueryLod, add_type("f32v2"), {image, coordinates});
    }
    if(flags & FlagSampledImage) image = add_value(func, SpvOpImage, get_target_type(get_type(image)), {image});
    if(family == FamilyImageSamples) {
        call.check_count(1);
        if(!multisample)
            Parser::error("%s is not a multisample texture\n", get_target_type_name(call.args[0].type).get());
        return add_value(func, SpvOpImageQuerySamples, add_type("i32"), {image});
    }
    if(family == FamilyTextureLevels) {
        call.check_count(1);
        if(!texture || multisample || (flags & FlagImageBuffer)) call.invalid();
        return add_value(func, SpvOpImageQueryLevels, add_type("i32"), {image});
    }
    if((family == FamilyTextureSize) != texture) call.invalid();
    uint32_t size = (flags & FlagImageCube) ? 2 : get_image_dimensions(flags);
    if(flags & FlagImageArray) size += 1;
    const uint32_t type = add_type(get_vector_flags(i32, size));
    if(texture && !multisample && (flags & FlagImageBuffer) == 0) {
        call.check_count(2);
        const uint32_t lod = add_coordinates(call, 1, 1, i32);
        return add_value(func, SpvOpImageQuerySizeLod, type, {image, lod});
    }
    call.check_count(1);
    return add_value(func, SpvOpImageQuerySize, type, {image});
}

uint32_t Compiler::add_image_atomic_call(Call &call) {
    Function &func = call.func;
    if(call.args.size() < 2) call.unknown();
    const Operand &place = call.args[0];
    const Flags flags = get_target_flags(place.type);
    if(!place.place() || (flags & (FlagImage | FlagImageBuffer)) == 0 ||
       (flags & (FlagArray | FlagImageTexture | FlagSampledImage)))
        Parser::error("unknown image type %s\n", get_operand_type_name(place).get());
    if((flags & FlagImageFormat) == 0) call.invalid();
    uint32_t size = get_image_dimensions(flags);
    if((flags & FlagImageArray) && (flags & FlagImageCube) == 0) size += 1;
    const Flags i32 = FlagSInt | Flag32Bit;
    uint32_t next = 1;
    const uint32_t coordinates = add_coordinates(call, next++, size, i32);
    const uint32_t sample = (flags & FlagImageMultisample) ? add_coordinates(call, next++, 1, i32) : add_constantu32(0);
    const uint32_t type = add_type(get_vector_flags(flags, 1));
    const uint32_t pointer =
        add_value(func, SpvOpImageTexelPointer, add_pointer(type, 11), {get_pointer(place, func), coordinates, sample});
    return add_atomic(call, pointer, type, next);
}

} // namespace Kolm
