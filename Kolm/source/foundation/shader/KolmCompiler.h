// Single-pass compiler from GLSL to SPIR-V.
//
// The text is read once by recursive descent; there is no syntax tree. Declarations go into the tables below, function
// bodies become SPIR-V words in Function::opcodes while they are read, and the last pass assembles the module. The
// sources follow the stages:
//
//     KolmCompiler.cpp              compileGLSL, first scan, order of the passes
//     KolmCompilerTypes.cpp         flags, sizes, add_type, add_image        KolmCompilerNames.inc
//     KolmCompilerSymbols.cpp       scopes, variables, structures, built-ins KolmCompilerBuiltins.inc
//     KolmCompilerConstant.cpp      Constant, its text, interning
//     KolmCompilerFold.cpp          operators on constants
//     KolmCompilerEvaluate.cpp      constant expressions
//     KolmCompilerDeclaration.cpp   parse_global: layout, blocks, structures, functions, globals
//     KolmCompilerLayout.cpp        offsets, strides, types that differ in nothing else
//     KolmCompilerStatement.cpp     statements of a function body
//     KolmCompilerExpression.cpp    expressions, assignments                KolmCompilerOperators.inc
//     KolmCompilerPlace.cpp         variables, members, indices, swizzles: loads and stores
//     KolmCompilerReference.cpp     structure views over buffers of words
//     KolmCompilerCall.cpp          calls of functions of the shader, inlining
//     KolmCompilerConstructor.cpp   constructors and initialiser lists
//     KolmCompilerFunction.cpp      internal and external functions         KolmCompilerFunctions.inc
//     KolmCompilerTexture.cpp       sampling, images and their queries
//     KolmCompilerEmit.cpp          add_opcode, casts, patching              KolmSpirvOps.inc
//     KolmCompilerModule.cpp        the final module
//
// Errors leave by Parser::error as a String and are caught in compileGLSL alone.
//
// Shared state, by stage:
//
//     name tables         filled by create once for each object, read by all, never cleared
//     options, model      set by compileGLSL; execution_modes, group_size, extensions, version by the first scan
//     symbols             variables, structures, references, functions: filled by parse_global and, for locals, by the
//                         body parsers; read by all; usage marks are read by the module stage
//     types and values    type_targets, targets, constants, target_indices, pointers, opcodes (the global section)
//     bodies              Function::opcodes, labels, variables, functions: filled by the body parsers through add_opcode
//     module              opcodes is rebuilt by create_opcodes and stays until the next compile
//
// All but the name tables are emptied by clear, which every compile begins with.

#pragma once

#include "KolmCompilerMaps.h"
#include "KolmParser.h"
#include "KolmSet.h"
#include "KolmShader.h"
#include "KolmSpirv.h"

namespace Kolm {

/// Compiles GLSL text to SPIR-V words. Needs no device. An object serves one thread and is used for many compiles.
class Compiler : public NoCopy {
public:
    // -- Types and records ------------------------------------------------------------------------------------------

    /// Description of any type. Vector width 1 has no vector bit, 2 the first, 3 the second, 4 both; matrix columns
    /// are written the same way.
    enum Flags : uint64_t {
        FlagNone = 0,
        FlagVoid = 1,
        Flag16Bit = 2,
        Flag32Bit = 4,
        Flag64Bit = 8,
        FlagFloat = 16,
        FlagUInt = 32,
        FlagSInt = 64,
        FlagBool = 128,
        FlagScalar = 256,
        FlagVector2 = 512,
        FlagVector3 = 1024,
        FlagMatrix2 = 2048,
        FlagMatrix3 = 4096,
        FlagRowMajor = 8192,
        FlagImage2D = 16384,
        FlagImage3D = 32768,
        FlagImageCube = 65536,
        FlagImageArray = 131072,
        FlagImageShadow = 262144,
        FlagImageBuffer = 524288,
        FlagImageTexture = 1048576,
        FlagImageFormat = 2097152,
        FlagImageMultisample = 4194304,
        FlagSampledImage = 8388608,
        FlagSampler = 16777216,
        FlagAcceleration = 33554432,
        FlagRayQuery = 67108864,
        FlagComposite = 134217728,
        FlagStructure = 268435456,
        FlagFunction = 536870912,
        FlagPointer = 1073741824,
        FlagTensor = 2097152, // shares the bit of FlagImageFormat: told apart by the image bits
        FlagArray = 4294967296,
        FlagInteger = FlagUInt | FlagSInt,
        FlagBits = Flag16Bit | Flag32Bit | Flag64Bit,
        FlagFormat = FlagFloat | FlagUInt | FlagSInt | FlagBool,
        FlagVector = FlagVector2 | FlagVector3,
        FlagMatrix = FlagMatrix2 | FlagMatrix3,
        FlagImage = FlagImage2D | FlagImage3D | FlagImageCube,
    };
    friend constexpr Flags operator|(Flags a, Flags b) { return Flags(uint64_t(a) | uint64_t(b)); }
    friend constexpr Flags operator&(Flags a, Flags b) { return Flags(uint64_t(a) & uint64_t(b)); }
    friend constexpr Flags operator~(Flags a) { return Flags(~uint64_t(a)); }
    friend constexpr Flags &operator|=(Flags &a, Flags b) { return a = a | b; }
    friend constexpr Flags &operator&=(Flags &a, Flags b) { return a = a & b; }

    enum Options : uint32_t {
        OptionNone = 0,
        OptionDebug = 1,     // names of the source in the module
        OptionUnused = 2,    // warn of unused variables and functions
        OptionInline = 4,    // warn of calls that stay calls
        OptionConvert = 8,   // warn of arguments that are converted
        OptionReserved = 16, // refuse reserved words as names
        DefaultOptions = 16,
    };

    enum Mode : uint32_t { ModeRead = 0, ModeAssign = 1, ModePointer = 2 };

    static constexpr uint32_t KolmToolID = 19;
    static constexpr uint32_t KolmVersion = 20;

    // Limits against hostile text.
    static constexpr uint32_t MaxInline = 4096;         // words of a function that is copied into its callers
    static constexpr uint32_t MaxViewed = 4096;         // values that one access to a view reads or writes
    static constexpr uint32_t MaxDepth = 256;           // nesting of parentheses, blocks, arguments, composites
    static constexpr uint32_t MaxConstants = 1000000;   // values of one constant
    static constexpr uint64_t MaxTypeSize = 0x7FFFFFFF; // bytes of one type

    /// What is known of an id.
    /// For a type: `type` is the element of a vector, matrix or array or the pointee of a pointer, ~0 if it has none.
    /// For a value: `type` is the id of its type.
    /// `length` is the array length, 0 for a runtime array, ~0 if it is no array. `name` is the position of the type's
    /// internal name in `type_targets`, ~0 if it has none.
    struct Target {
        Flags flags = FlagNone;
        uint32_t type = ~0u;
        uint32_t length = ~0u;
        uint32_t name = ~0u;
    };

    struct Tensor {
        String type; // internal name of the component
        uint32_t rows = 0;
        uint32_t columns = 0;
    };

    /// Value of a constant: all scalars of a composite, flat. Floats of every width are held as f64, integers as 64
    /// bits, cut to their width after each step. No values means "not a constant".
    struct Constant {
        union Value {
            float64_t f64;
            uint64_t u64;
            int64_t i64;
            uint64_t b32; // 0 or 1
        };

        Constant() = default;
        explicit Constant(Flags flags) : flags(flags) {}
        Constant(Flags flags, uint64_t bits) : flags(flags) {
            Value value;
            value.u64 = bits;
            values.append(value);
        }

        void reset() {
            flags = FlagNone;
            values.clear();
        }

        bool empty() const { return values.size() == 0; }
        explicit operator bool() const { return values.size() != 0; }
        uint32_t size() const { return values.size(); }
        /// Whether all values have the bits of the first.
        bool uniform() const;

        /// Value at \p index converted from whatever the flags say. Out of range floats are clamped, NaN gives 0.
        float64_t getf64(uint32_t index = 0) const;
        uint64_t getu64(uint32_t index = 0) const;
        int64_t geti64(uint32_t index = 0) const;
        bool getb32(uint32_t index = 0) const;
        /// Sets or adds a value, given in any format and kept in that of the flags and cut to their width.
        void setf64(uint32_t index, float64_t value);
        void setu64(uint32_t index, uint64_t value);
        void seti64(uint32_t index, int64_t value);
        void setb32(uint32_t index, bool value);
        void set(uint32_t index, const Constant &constant, uint32_t from);
        /// Adds a value of another constant, converted to the format of this one.
        void append(const Constant &constant, uint32_t index);
        /// The same values in the format and bits of \p to.
        Constant convert(Flags to) const;
        /// Bits of a value as they stand in the module: narrowed floats, integers in their width.
        uint64_t getBits(uint32_t index) const;
        /// Cuts all values to the width of the flags.
        void wrap();

        // KolmCompilerFold.cpp
        /// Result in the format of \p flags; empty if the opcode is not folded.
        Constant unary(SpvOp opcode, Flags flags) const;
        Constant binary(SpvOp opcode, const Constant &other, Flags flags) const;

        Flags flags = FlagNone; // of the whole type, array bit included
        ArrayStack<Value, 16> values;
    };

    /// Names of one block, one structure or one function. `parent` is null at the top.
    struct Scope {
        void reset() {
            parent = nullptr;
            variables.clear();
            structures.clear();
            references.clear();
        }

        Scope *parent = nullptr;
        NameMap<uint32_t> variables;
        NameMap<uint32_t> structures;
        NameMap<uint32_t> references;
    };

    /// How a parameter passes its value.
    enum Pass : uint32_t {
        PassIn = 1,     // by value; `variable` is a local that the entry of the function fills
        PassOut = 2,    // pointer of storage Function
        PassInOut = 3,  // the same
        PassOpaque = 4, // pointer of storage UniformConstant: images, samplers, acceleration structures
    };
    struct Argument {
        uint32_t variable = ~0u; // index of the parameter's variable
        uint32_t target = ~0u;   // id of the parameter; for pointers the variable has the same id
        uint32_t pass = PassIn;
    };

    /// A variable, a member of a structure, a parameter, or a named constant.
    struct Variable {
        void reset() {
            name.clear();
            type.clear();
            value.clear();
            index = target = length = storage = structure = function = argument = ~0u;
            member = type_target = constant = initializer = src_offset = ~0u;
            decorations.clear();
            scope = nullptr;
            usage = explicit_major = false;
        }

        String name;                  // empty for the variable of a nameless block
        String type;                  // internal name; may carry a stride ("f32@16"), see KolmCompilerLayout.cpp
        String value;                 // of a named constant, as text
        uint32_t constant = ~0u;      // of a named constant: index in `named_constants`
        uint32_t initializer = ~0u;   // id of the constant with which a global starts
        uint32_t index = ~0u;         // in `variables`
        uint32_t target = ~0u;        // id of the variable; a named constant has none in the module
        uint32_t length = ~0u;        // array length, 0 unsized, ~0 no array; further dimensions stand in `type`
        uint32_t storage = ~0u;       // storage class
        uint32_t structure = ~0u;     // index of the structure of which it is a member
        uint32_t function = ~0u;      // index of the function whose local it is
        uint32_t argument = ~0u;      // index of the parameter that it stands for by pointer
        uint32_t member = ~0u;        // position in its structure
        bool explicit_major = false;  // a member that says itself how its matrix lies
        uint32_t type_target = ~0u;   // id of its type with the length, once it is known
        SmallMap decorations;         // decoration to value, ~0 for one without; 22 marks a constant
        uint32_t src_offset = ~0u;    // of the declaration of a global in the text
        const Scope *scope = nullptr; // last scope from which it was seen
        bool usage = false;
    };

    /// Offsets and strides of a structure.
    enum Packing : uint32_t { PackingStd430 = 0, PackingStd140 = 1 };

    /// A structure or a block.
    struct Structure {
        void reset() {
            name.clear();
            scope.reset();
            index = target = stride = storage = variable = ~0u;
            variables.clear();
            decorations.clear();
            opcode_offset = opcode_size = 0;
            base = ~0u;
            alignment = 0;
            size = 0;
            complete = memory = false;
            packing = PackingStd430;
            row_major = false;
            usage = false;
        }

        String name;                // internal type name; a second layout of one structure has a "." in it
        Scope scope;                // member names
        uint32_t index = ~0u;       // in `structures`
        uint32_t target = ~0u;      // id of the type
        uint32_t stride = ~0u;      // bytes from one to the next in an array, ~0 if it has no layout
        uint32_t storage = ~0u;     // of a block, ~0 for a plain structure
        uint32_t variable = ~0u;    // of a block: index of its variable
        Array<uint32_t> variables;  // indices of the members
        SmallMap decorations;       // 2 Block, 3 BufferBlock
        uint32_t opcode_offset = 0; // words of its declaration in the global section
        uint32_t opcode_size = 0;
        uint32_t base = ~0u;    // index of the structure as declared: its own, or of which this is another layout
        uint64_t size = 0;      // bytes without padding at the end, of a runtime array 0 elements
        uint32_t alignment = 0; // bytes
        Packing packing = PackingStd430;
        bool row_major = false; // layout of matrix members that do not say otherwise
        bool complete = false;  // its body was read
        bool memory = false;    // its members have offsets
        bool usage = false;
    };

    /// A view of a structure over a buffer of words, `Name &r = Name(buffer, index)`.
    struct Reference {
        void reset() {
            name.clear();
            index = structure = variable = offset = ~0u;
            indices.clear();
            usage = false;
        }

        String name;
        uint32_t index = ~0u;
        uint32_t structure = ~0u;
        uint32_t variable = ~0u;
        uint32_t offset = ~0u;   // id of the element index, in buffer words
        Array<uint32_t> indices; // access chain to the array
        bool usage = false;
    };

    struct Function {
        void reset() {
            name.clear();
            type.clear();
            signature.clear();
            key.clear();
            scope.reset();
            index = target = ~0u;
            control = 0;
            src = nullptr;
            src_offset = 0;
            next = ~0u;
            arguments.clear();
            variables.clear();
            functions.clear();
            opcodes.clear();
            labels.clear();
            breaks = continues = switches = nullptr;
            opcode = ~0u;
            created = creating = compiled = usage = internal = false;
        }

        String name;
        String type;      // result type, internal name
        Scope scope;      // parameter names
        String signature; // "(" and an internal name with ";" for each parameter; no ")" at the end
        String key;       // result type and signature with pointers marked: name of the function type in type_targets
        uint32_t index = ~0u;
        uint32_t target = ~0u;
        uint32_t control = 0;                 // SPIR-V function control
        const char *src = nullptr;            // "{" of the body; null until one is seen
        uint32_t src_offset = 0;              // of src in the text
        uint32_t next = ~0u;                  // next function of the same name, in order of declaration
        Array<Argument> arguments;            // parameters
        Array<uint32_t> variables;            // indices of locals that the module declares, in order
        Array<uint32_t> functions;            // indices of the functions that it calls
        Array<uint32_t> opcodes;              // the body, without OpFunction, parameters, first label and locals
        Array<uint32_t> labels;               // word offsets in opcodes of OpLabel ids that are numbered later
        Array<uint32_t> *breaks = nullptr;    // word offsets of targets to patch, owned by the enclosing statement;
        Array<uint32_t> *continues = nullptr; // null outside of one
        Array<uint32_t> *switches = nullptr;
        uint32_t opcode = ~0u; // last opcode of the body
        bool created = false;  // stands in the module
        bool creating = false; // is on its way there: meeting it again is recursion
        bool compiled = false; // its body was parsed
        bool usage = false;
        bool internal = false; // text of the library's own
    };

    Compiler();
    ~Compiler();

    /// Compiles one shader. \p macros is text for warnings and may be null. \p offset receives the position in \p src
    /// of the item that was reached. Returns false and logs on an error; getMessage() keeps its text.
    /// Resets all of the previous compile.
    bool compileGLSL(Shader::Type type, const char *src, const char *macros, uint32_t &offset,
                     Options options = DefaultOptions);

    /// The module of the last successful compile, until the next one.
    const Array<uint32_t> &getOpcodes() const { return opcodes; }
    /// Text of the last error, which ends in a line feed.
    const String &getMessage() const { return message; }

    /// Forgets the last compile but keeps its memory and the name tables.
    void clear();

    // Pure functions of flags.
    static uint32_t get_type_alignment(Flags flags);
    static uint32_t get_type_size(Flags flags);
    static uint32_t get_type_components(Flags flags); // width times columns
    static uint32_t get_type_width(Flags flags);      // vector width, 1 for a scalar
    static uint32_t get_type_columns(Flags flags);    // 1 for what is no matrix
    static uint32_t get_type_bits(Flags flags);       // 16, 32, 64; 0 for none
    /// Internal name of a numeric type or "void"; "" for others. The text is static.
    static const char *get_type_name(Flags flags);
    static Flags get_type_flags(const char *name);
    static Flags get_type_flags(const String &name) { return get_type_flags(name.get()); }
    /// Flags of a vector or scalar with the format and bits of \p flags and \p width components.
    static Flags get_vector_flags(Flags flags, uint32_t width);
    static Flags get_matrix_flags(Flags flags, uint32_t width, uint32_t columns);
    /// 0 to 3, ~0 for a letter that is none of xyzw, rgba, stpq.
    static uint32_t get_swizzle(char c);

private:
    friend class CompilerTest;

    using Words = std::initializer_list<uint32_t>;
    using TypeText = StringStack<64>; // most names of types fit into it

    // -- KolmCompiler.cpp -------------------------------------------------------------------------------------------

    void create();                                            // name tables
    void parse_directives(const char *src, uint32_t &offset); // first scan
    bool parse_directive(const char *&s);                     // one "#" line in the first scan
    void parse_execution(const String &text, bool input);     // one "layout() in;"
    void compile_functions(const char *src, uint32_t &offset);
    static void check_depth(uint32_t depth); // error above MaxDepth

    // -- KolmCompilerTypes.cpp --------------------------------------------------------------------------------------

    /// Id of a type by internal name. \p length is ~0 for no array, 0 for an unsized one. \p scope finds structures
    /// and may be null; names of second layouts are found in any case.
    uint32_t add_type(const char *name, uint32_t length = ~0u, const Scope *scope = nullptr);
    uint32_t add_type(const String &name, uint32_t length = ~0u, const Scope *scope = nullptr) {
        return add_type(name.get(), length, scope);
    }
    uint32_t add_type(Flags flags, uint32_t length = ~0u);
    uint32_t add_image(const String &name, uint32_t format);
    uint32_t add_tensor(const String &name);
    uint32_t add_array(const char *name, uint32_t name_length, uint32_t length, const Scope *scope);
    uint32_t add_numeric_type(const char *name);
    uint32_t add_new_type(const char *name, Flags flags, uint32_t type, uint32_t length, SpvOp opcode, Words words);
    uint32_t find_type(const char *key, uint32_t length);
    /// Bytes between the elements of an array of this type; ~0 for what has no place in memory.
    uint32_t get_array_stride(const char *name, uint32_t type) const;
    bool is_tracing() const {
        return execution_model >= SpvExecutionModelRayGenerationKHR && execution_model <= SpvExecutionModelCallableKHR;
    }
    /// Pointer to a type by internal name.
    uint32_t add_pointer(const String &type, uint32_t length, uint32_t storage, const Scope *scope = nullptr);
    /// Pointer to a type by its id.
    uint32_t add_pointer(uint32_t type, uint32_t storage);
    /// Type of a variable with its length, and a pointer to it; remembered in the variable.
    uint32_t add_variable_type(Variable &variable);
    uint32_t add_variable_pointer(Variable &variable);

    /// A new id of no known type.
    uint32_t add_target() { return num_targets++; }
    /// A new id for a value of type \p type.
    uint32_t add_target(uint32_t type);
    /// A new id with flags alone; its type is made by add_type(flags).
    uint32_t add_target(Flags flags) { return add_target(add_type(flags)); }
    void add_target_flags(uint32_t target, Flags flags, uint32_t type, uint32_t length, uint32_t name = ~0u);
    /// Marks an intermediate result with a decoration; \p value is ~0 for one without.
    void add_target_decoration(uint32_t target, uint32_t decoration, uint32_t value = ~0u);

    Flags get_target_flags(uint32_t target) const;
    uint32_t get_target_type(uint32_t target) const;
    uint32_t get_target_length(uint32_t target) const;
    uint32_t get_target_components(uint32_t target) const;
    /// Name of the type of a value, or of a type, for messages: as the source spells it.
    String get_target_type_name(uint32_t target) const;
    /// Internal name of the type of a value, or of a type.
    String get_internal_type_name(uint32_t target) const;
    /// Type id of a value; a type gives itself.
    uint32_t get_type(uint32_t target) const;
    bool is_type(uint32_t target) const;
    /// Structure of a value or type of that kind.
    Structure &get_target_structure(uint32_t target);
    /// Whether values of the types are the same but for the layout in memory.
    bool is_same_type(uint32_t type_0, uint32_t type_1) const;

    /// Spelling of the source for an internal name; the name itself if it has none.
    const char *get_source_name(const char *type) const;
    String get_source_name(const String &type) const;
    /// Internal name of a type of the source, or null.
    const char *get_internal_name(const String &name) const;

    void add_capability(uint32_t capability) {
        if(!capabilities.get(capability)) capabilities.append(capability);
    }

    // -- KolmCompilerSymbols.cpp ------------------------------------------------------------------------------------

    /// Index by name, walking up the scopes; ~0 if it is absent. The entry found counts as used.
    /// A built-in variable is declared on its first use.
    uint32_t get_variable(const String &name, const Scope *scope);
    uint32_t get_structure(const String &name, const Scope *scope);
    uint32_t get_reference(const String &name, const Scope *scope);
    /// Index by name and signature, the first in order of declaration; ~0 if it is absent. An empty signature matches
    /// by the name alone. The function found counts as used.
    uint32_t get_function(const String &name, const char *signature = "");
    uint32_t get_function(const String &name, const String &signature) { return get_function(name, signature.get()); }
    /// First function of a name without counting it as used; go on by Function::next.
    uint32_t find_function(const String &name) const;

    /// By id.
    Variable &get_variable(uint32_t target);
    Structure &get_structure(uint32_t target);
    Function &get_function(uint32_t target);

    bool is_reserved(const String &name) const;
    bool is_name(const String &name, const Scope *scope) const;

    /// Adds an entry and checks its name. \p scope may be null for an entry that no name finds.
    Variable &add_variable(const String &name, const String &type, uint32_t length, uint32_t storage, Scope *scope);
    Structure &add_structure(const String &name, Scope *scope);
    Reference &add_reference(const String &name, Scope *scope);
    Function &add_function(const String &name, const String &type);
    /// A local variable of a function; entered in Function::variables.
    Variable &add_local(Function &func, const String &name, const String &type, uint32_t length, Scope *scope);
    void check_name(const String &name, const Scope *scope) const;

    /// Declares a built-in variable or constant for this stage. Returns whether there is one.
    bool add_builtin(const String &name);
    void get_builtin_line(const char *line, String &text) const;
    /// What a variable with this BuiltIn decoration requires.
    void add_builtin(uint32_t builtin);
    /// Vertices of the primitive that comes in to a geometry shader, 0 if it is not declared.
    uint32_t get_input_vertices() const;
    /// Length of a clip or cull distance array, by its uses in the text.
    uint32_t get_distance_length(const char *name) const;

    // -- KolmCompilerConstant.cpp -----------------------------------------------------------------------------------

    /// Id of a constant; one id for each type and value.
    uint32_t add_constant(const char *type, const Constant &constant);
    uint32_t add_constant(const String &type, const Constant &constant) { return add_constant(type.get(), constant); }
    uint32_t add_constant(const char *type, uint64_t value); // value in the bits of Constant::Value
    uint32_t add_constant(const String &type, uint64_t value) { return add_constant(type.get(), value); }
    uint32_t add_constant(const String &type, const String &text, const Scope *scope);
    /// By id of the type, which may be an array or a structure.
    uint32_t add_constant(uint32_t type, const Constant &constant);
    uint32_t add_constant(uint32_t type, const Constant &constant, uint32_t offset, uint32_t count);
    uint32_t find_constant(uint32_t type, const Constant &constant, uint32_t offset, uint32_t count,
                           uint32_t &hash) const;
    void add_constant_slot(uint32_t target, uint32_t hash);
    void insert_constant_slot(uint32_t target, uint32_t hash);
    uint32_t add_constantu32(uint32_t value);
    uint32_t add_constanti32(int32_t value);
    uint32_t add_constantb32(bool value);
    /// All components equal to \p value in the format of \p flags.
    uint32_t add_constantf64(Flags flags, float64_t value);
    uint32_t add_zero(uint32_t type);
    /// Value of an id that is a constant, or null.
    const Constant *get_constant(uint32_t target) const;
    /// Value of a named constant, or null.
    const Constant *get_constant(const Variable &variable) const {
        return (variable.constant != ~0u) ? &named_constants[variable.constant] : nullptr;
    }
    /// Source text of a constant; \p plain keeps internal type names and all digits of floats.
    String get_constant(const Constant &constant, bool plain) const;
    /// Number of scalars in a type.
    uint64_t get_type_scalars(uint32_t type) const;

    // -- KolmCompilerFold.cpp, KolmCompilerEvaluate.cpp ---------------------------------------------------------------

    struct ConstantParser; // state of one run of parse_constant

    /// Value of a constant expression. All of \p src is read. With \p internal, type names may be internal ones.
    Constant parse_constant(const char *src, const Scope *scope, bool internal = false);
    Constant parse_constant(const String &src, const Scope *scope, bool internal = false) {
        return parse_constant(src.get(), scope, internal);
    }
    /// Number at \p s, which is moved behind it. Returns false and leaves \p s if it is none.
    static bool parse_literal(const char *&s, Constant &constant);
    bool is_left_redundant(SpvOp opcode, const Constant &constant) const;
    bool is_right_redundant(SpvOp opcode, const Constant &constant) const;
    /// Constant that the operation gives whatever the other operand is; empty if there is none.
    Constant get_redundant_value(SpvOp opcode, const Constant &constant, Flags flags) const;

    // -- KolmCompilerDeclaration.cpp, KolmCompilerLayout.cpp --------------------------------------------------------

    /// Qualifiers that wait for their declaration.
    struct Qualifiers;

    void parse_global(const char *src, uint32_t &offset, bool internal);
    bool parse_qualifier(const char *&s, Qualifiers &qualifiers, bool parameter);
    void parse_layout(const char *&s, Qualifiers &qualifiers);
    void parse_struct(const char *&s, Qualifiers &qualifiers);
    void parse_members(const char *&s, Structure &structure, const Qualifiers &block, const Scope *scope);
    void parse_block(const char *&s, const String &name, Qualifiers &qualifiers);
    bool parse_prototype(const char *&s, const String &type, const String &name, const Qualifiers &qualifiers);
    void parse_declarators(const char *&s, const String &type, const Array<uint32_t> &lengths, Qualifiers &qualifiers);
    void parse_redeclaration(const char *&s, const Qualifiers &qualifiers);
    void parse_initializer(const char *&s, Variable &variable, bool constant);
    Variable &add_global(const String &name, const String &type, uint32_t length, const Qualifiers &qualifiers);
    void add_interface(Variable &variable, const Qualifiers &qualifiers);
    void add_function_type(Function &func);
    bool is_type_name(const char *name) const;
    uint32_t get_locations(uint32_t type);
    bool is_flat_type(uint32_t type);
    bool has_bool(uint32_t type);
    void add_storage_capability(uint32_t type, uint32_t storage);
    void add_builtin_decoration(Variable &variable);
    uint32_t get_element_type(const String &type);
    uint32_t get_implicit_length(const Variable &variable) const;
    uint32_t get_storage_stages(uint32_t storage) const;
    /// Internal name of the type that begins at \p s, which is moved behind it; empty if none does. The form of
    /// tensors is read up to its ">".
    TypeText parse_type(const char *&s, const Scope *scope, bool internal = false);
    /// "[n]" and "[]" at \p s, added to \p lengths from the outermost on. "[]" gives 0.
    void parse_array_lengths(const char *&s, Array<uint32_t> &lengths, const Scope *scope);
    /// The same into the internal form: returns the outermost length or ~0, the others go into \p type.
    uint32_t parse_array_length(const char *&s, String &type, const Scope *scope);
    static uint32_t get_array_type(String &type, const Array<uint32_t> &lengths);
    /// Moves behind the region that begins at \p s with \p open.
    static void skip_region(const char *&s, char open, char close);
    /// The same; false and at the end of the text if the region has no end.
    static bool find_region(const char *&s, char open, char close);
    /// Text up to a top-level "," or \p end, which stays.
    static String read_item(const char *&s, char end);

    // Layout: see KolmCompilerLayout.cpp.
    struct LayoutInfo {
        uint64_t size = 0;
        uint32_t alignment = 0;
        uint32_t stride = ~0u;        // of the outermost array
        uint32_t matrix_stride = ~0u; // of a matrix
        bool row_major = false;
    };
    struct MemberLayout {
        StringStack<31> type;
        uint64_t offset = 0;
        LayoutInfo info;
    };
    LayoutInfo get_layout(String &type, uint32_t length, Packing packing, bool row_major);
    void get_structure_layout(Structure &structure, Packing packing, bool row_major, Array<MemberLayout> &members,
                              LayoutInfo &info);
    /// Offsets and strides of the members, then the declaration of the type itself.
    void create_structure(Structure &structure, bool memory);
    /// The structure, or a copy of it, whose layout is the one wanted. Returns its index.
    uint32_t add_layout_structure(uint32_t index, Packing packing, bool row_major);

    // -- KolmCompilerStatement.cpp ----------------------------------------------------------------------------------

    /// Statements from \p s on, which stands behind the "{" of a body, up to the "}" and behind it.
    void parse_function(const char *src, const char *&s, uint32_t &offset, Function &func, Scope *scope);
    void parse_statements(const char *&s, Function &func, Scope *scope);
    void parse_statement(const char *&s, Function &func, Scope *scope);
    void parse_plain_statement(const char *&s, Function &func, Scope *scope);
    void parse_clause(const char *&s, Function &func, Scope *scope, char end);
    bool parse_keyword(const char *&s, const String &name, Function &func, Scope *scope);
    void parse_return(const char *&s, Function &func, Scope *scope);
    void parse_flow(const char *&s, Function &func, Scope *scope);
    bool parse_local(const char *&s, Function &func, Scope *scope);
    void parse_local_variables(const char *&s, const String &type_name, const Array<uint32_t> &dimensions,
                               bool constant, Function &func, Scope *scope);
    bool parse_local_constant(const char *&s, const String &name, const String &type, uint32_t length, Function &func,
                              Scope *scope);
    uint32_t parse_initial_value(const char *&s, uint32_t &type, Function &func, Scope *scope);
    void parse_local_structure(const char *&s, Function &func, Scope *scope);
    uint32_t parse_local_members(const char *&s, const String &name, Scope *scope);
    uint32_t parse_condition(const char *&s, Function &func, Scope *scope);
    void parse_body(const char *&s, Function &func, Scope *scope);
    struct Loop;
    void add_header(Function &func, uint32_t header, uint32_t merge, uint32_t next, uint32_t first,
                    SpvLoopControlMask control);
    void add_merge(Function &func, uint32_t merge, bool reached);
    void parse_for(const char *&s, Function &func, Scope *scope, SpvLoopControlMask control);
    void parse_while(const char *&s, Function &func, Scope *scope, SpvLoopControlMask control);
    void parse_do_while(const char *&s, Function &func, Scope *scope, SpvLoopControlMask control);
    void parse_if(const char *&s, Function &func, Scope *scope, SpvSelectionControlMask control);
    void parse_switch(const char *&s, Function &func, Scope *scope, SpvSelectionControlMask control);
    void set_position(const char *s, const Function &func);

    // -- KolmCompilerExpression.cpp ---------------------------------------------------------------------------------

    /// Kinds of codes in expressions, see KolmCompilerOperators.inc.
    enum Code : uint32_t {
#define CODE(NUM, NAME, PRIORITY) Code##NAME = NUM,
#include "KolmCompilerOperators.inc"
        NumCodes,
    };
    static const char *get_code_name(uint32_t code);
    /// Twice the priority of the table.
    static uint32_t get_code_priority(uint32_t code);
    /// Instruction of an operator for operands of a format; Nop if there is none.
    static SpvOp get_operator_opcode(uint32_t code, Flags flags);
    /// Operator where one may follow an operand. \p compound is the operator that an Assign has with it.
    static uint32_t read_operator(const char *s, uint32_t &length, uint32_t &compound);
    /// Format and bits to which operands are brought before an operation; none if there are no such.
    static Flags get_common_flags(Flags flags_0, Flags flags_1);

    /// What an expression has come to: a value, or a place in memory that is not read yet.
    ///
    /// A value has `target`. A place has `pointer` and a chain of indices into it, or is a view, which has `reference`;
    /// it is read and written through load and store. A place whose text was read on is a value no more.
    struct Operand {
        static constexpr uint32_t MaxIndices = 8;

        uint32_t target = ~0u;    // id of a value
        uint32_t type = ~0u;      // id of the type, before the swizzle
        uint32_t pointer = ~0u;   // id of the pointer from which the indices go on
        uint32_t root = ~0u;      // id of the type to which it points
        uint32_t storage = ~0u;   // of the pointer
        uint32_t variable = ~0u;  // index of the variable at the root
        uint32_t reference = ~0u; // index of the view at the root
        uint32_t offset = 0;      // view: bytes from its begin
        uint32_t element = ~0u;   // view: id of further elements of the buffer, ~0 for none
        uint32_t indices[MaxIndices];
        uint8_t num_indices = 0;
        uint8_t num_swizzle = 0; // components of a swizzle of the vector, 0 for none
        uint8_t swizzle[4] = {};
        bool readonly = false;
        bool writeonly = false;
        bool constant = false; // a place that the language does not let write
        bool whole = true;     // the variable itself and no part of it
        bool nonuniform = false;

        bool place() const { return pointer != ~0u || reference != ~0u; }
    };
    using Operands = Array<Operand>;

    /// One expression, converted to \p type unless that is empty. Returns the id of the result.
    uint32_t parse_expression(const char *&s, const String &type, Function &func, Scope *scope);
    /// One expression as a value of a type.
    uint32_t parse_value(const char *&s, uint32_t type, Function &func, Scope *scope);
    /// One expression, not read yet if it is a place.
    Operand parse_operand(const char *&s, Function &func, Scope *scope);
    void parse_assignment(const char *&s, Function &func, Scope *scope);
    Operand parse_binary(const char *&s, uint32_t priority, bool nested, Function &func, Scope *scope);
    Operand parse_unary(const char *&s, bool nested, Function &func, Scope *scope);
    Operand parse_primary(const char *&s, bool nested, Function &func, Scope *scope);
    Operand parse_name(const char *&s, Function &func, Scope *scope);
    bool parse_sizeof(const char *&s, Operand &operand, Scope *scope);
    void parse_select(const char *&s, Operand &condition, Function &func, Scope *scope);
    void parse_assign(const char *&s, uint32_t compound, Operand &operand, bool statement, Function &func,
                      Scope *scope);
    void add_increment(Operand &operand, uint32_t code, Function &func);
    uint32_t add_operator(uint32_t code, uint32_t value, Function &func);
    uint32_t add_operator(uint32_t code, uint32_t value_0, uint32_t value_1, Function &func);
    uint32_t add_tensor_operator(uint32_t code, uint32_t value_0, uint32_t value_1, Function &func);
    uint32_t add_product(uint32_t value_0, uint32_t value_1, Function &func);
    uint32_t add_columns(uint32_t code, uint32_t value_0, uint32_t value_1, Function &func);
    uint32_t add_equal(uint32_t value_0, uint32_t value_1, Function &func);
    uint32_t add_select(uint32_t condition, uint32_t value_0, uint32_t value_1, Function &func);
    /// Value brought to the format and bits of \p format and, if it is a scalar, to \p width components.
    uint32_t add_match(Flags format, uint32_t width, uint32_t value, Function &func);

    // -- KolmCompilerPlace.cpp --------------------------------------------------------------------------------------

    Operand get_operand(uint32_t target) const;
    /// Type of what the operand stands for, swizzle included.
    uint32_t get_operand_type(const Operand &operand);
    String get_operand_type_name(const Operand &operand) { return get_target_type_name(get_operand_type(operand)); }
    bool parse_variable(const String &name, Operand &operand, Scope *scope);
    void parse_postfix(const char *&s, Operand &operand, Function &func, Scope *scope);
    void parse_member(const char *&s, Operand &operand, Function &func);
    void parse_index(const char *&s, Operand &operand, Function &func, Scope *scope);
    void parse_length(const char *&s, Operand &operand, Function &func);
    void add_swizzle(const String &name, Operand &operand, Function &func);
    void add_index(Operand &operand, uint32_t index, uint32_t type, Function &func);
    void check_index(uint32_t type, uint32_t index);
    uint32_t add_part(uint32_t value, uint32_t index, Function &func);
    /// Makes the pointer to the place, so that no index is evaluated again.
    void fix_pointer(Operand &operand, Function &func);
    void add_resource_index(Operand &operand, uint32_t index);
    uint32_t load(const Operand &operand, Function &func);
    void store(const Operand &operand, uint32_t value, Function &func);
    /// Pointer to the place, without its swizzle.
    uint32_t get_pointer(const Operand &operand, Function &func);
    void check_write(const Operand &operand);
    /// Components of a vector, or copies of a scalar.
    uint32_t add_shuffle(uint32_t value, const uint8_t *components, uint32_t size, Function &func);
    /// Element of a composite value by an index that is not known.
    uint32_t add_dynamic_extract(uint32_t value, uint32_t index, Function &func);
    /// Value in a local variable of its own, as a place.
    Operand add_temporary(uint32_t type, uint32_t value, Function &func);
    /// Local variable of a type by id, which no name finds.
    Variable &add_temporary(uint32_t type, Function &func);
    bool is_opaque_type(uint32_t type) const;
    /// Whether variables may hold the type: all but the opaque ones, cooperative matrices and arrays of them included.
    bool is_value_type(uint32_t type) const;
    uint32_t get_named_target(Variable &variable, const Constant &constant);

    // -- KolmCompilerReference.cpp ----------------------------------------------------------------------------------

    /// Declaration of a view: stands behind the "&".
    void parse_reference(const char *&s, const String &type, Function &func, Scope *scope);
    Operand get_reference_operand(uint32_t index);
    uint32_t load_reference(const Operand &operand, Function &func);
    void store_reference(const Operand &operand, uint32_t value, Function &func);
    uint32_t compose_reference(uint32_t type, const Operand &operand, uint32_t offset, Function &func);
    void decompose_reference(uint32_t type, uint32_t value, const Operand &operand, uint32_t offset, Function &func);
    uint32_t get_reference_pointer(const Operand &operand, uint32_t offset, Function &func);
    uint32_t get_reference_element(const Operand &operand);
    /// Bytes from one part of a composite to the next.
    uint32_t get_reference_stride(uint32_t type);
    uint32_t get_reference_offset(Variable &member);
    void add_reference_index(Operand &operand, uint32_t index, uint32_t type, Function &func);

    // -- KolmCompilerCall.cpp ---------------------------------------------------------------------------------------

    /// Arguments from behind the "(" to behind the ")". Values are read at once, except where \p places has the bit of
    /// the argument's position.
    void parse_arguments(const char *&s, Operands &args, uint32_t places, Function &func, Scope *scope);
    String get_signature(const Operands &args);
    /// Value of the call, ~0 for none.
    uint32_t parse_shader_function(const char *&s, const String &name, Function &func, Scope *scope);
    uint32_t resolve_function(const String &name, Operands &args, Function &func);
    uint32_t add_call(Function &callee, Operands &args, Function &func);
    bool inline_function(const Function &callee, const Operands &args, uint32_t &result, Function &func);

    // -- KolmCompilerConstructor.cpp --------------------------------------------------------------------------------

    uint32_t parse_constructor(const char *&s, const String &type, uint32_t length, Function &func, Scope *scope);
    uint32_t parse_structure(uint32_t type, const Operands &args, Function &func);
    uint32_t parse_array(uint32_t type, const Operands &args, Function &func);
    uint32_t add_numbers(uint32_t type, const Operands &args, Function &func);
    uint32_t add_matrix(uint32_t type, uint32_t value, Function &func);
    /// "{" list "}" for a type; \p type may be an unsized array and becomes the sized one.
    uint32_t parse_list(const char *&s, uint32_t &type, Function &func, Scope *scope);
    /// Composite of values, a constant if all of them are.
    uint32_t add_composite(uint32_t type, const Array<uint32_t> &values, Function &func);

    // -- KolmCompilerFunction.cpp, KolmCompilerTexture.cpp ------------------------------------------------------------

    struct InternalFunction;
    struct ExternalFunction;
    struct Call;  // one call of an internal function: its row, its arguments
    struct Match; // arguments brought to what the row wants
    static const InternalFunction internal_rows[];
    static const ExternalFunction external_rows[];

    uint32_t parse_internal_function(const char *&s, const String &name, Function &func, Scope *scope);
    uint32_t parse_external_function(const char *&s, const String &name, Function &func, Scope *scope);
    uint32_t add_internal_function(Call &call);
    uint32_t add_external_function(const ExternalFunction &row, const Operands &args, Function &func);
    bool match_arguments(Match &match, const Operands &args, Function &func);
    void match_call(Call &call, Match &match);
    uint32_t get_result_type(const char *rule, const Match &match);
    uint32_t get_pair_type(uint32_t type_0, uint32_t type_1);
    SpvOp get_call_opcode(const Call &call, Flags flags) const;
    uint32_t get_constant_argument(Call &call, uint32_t index);
    uint32_t add_plain_call(Call &call);
    uint32_t add_matrix_call(Call &call);
    uint32_t add_number_call(Call &call);
    uint32_t add_barrier_call(Call &call);
    uint32_t add_atomic_call(Call &call);
    uint32_t add_atomic(Call &call, uint32_t pointer, uint32_t type, uint32_t first);
    uint32_t add_subgroup_call(Call &call);
    uint32_t add_stage_call(Call &call);
    uint32_t add_ray_call(Call &call);
    uint32_t add_query_call(Call &call);
    uint32_t add_coop_call(Call &call);
    uint32_t add_nonuniform_call(Call &call);
    uint32_t get_located_pointer(Call &call, uint32_t location, uint32_t storage_0, uint32_t storage_1);
    uint32_t add_texture_call(Call &call);
    uint32_t add_image_call(Call &call);
    uint32_t add_query_image_call(Call &call);
    uint32_t add_image_atomic_call(Call &call);
    uint32_t add_sampler_call(Call &call);
    uint32_t add_sampled_image(uint32_t image, uint32_t sampler, Function &func);
    uint32_t add_coordinates(Call &call, uint32_t index, uint32_t size, Flags format);
    uint32_t add_sparse(Call &call, SpvOp opcode, uint32_t type, const Array<uint32_t> &words, const Operand &place);
    static uint32_t get_image_dimensions(Flags flags);

    // -- KolmCompilerEmit.cpp ---------------------------------------------------------------------------------------

    // To the global section.
    void add_opcode(SpvOp opcode, Words words);
    void add_opcode(SpvOp opcode, Words words, const Array<uint32_t> &array);
    void add_opcode(SpvOp opcode, Words words, const char *text);
    void add_opcode(SpvOp opcode, Words words, const char *text, const Array<uint32_t> &tail);
    // To the body of a function. After a terminator an OpLabel comes by itself, see Function::labels.
    void add_opcode(Function &func, SpvOp opcode, Words words);
    void add_opcode(Function &func, SpvOp opcode, Words words, const Array<uint32_t> &array);
    /// The same with a result: `type` and a new id stand before the operands. Returns the new id, whose type is known.
    uint32_t add_value(Function &func, SpvOp opcode, uint32_t type, Words operands);
    uint32_t add_value(Function &func, SpvOp opcode, uint32_t type, Words operands, const Array<uint32_t> &array);
    uint32_t add_value(Function &func, SpvOp opcode, uint32_t type, const Array<uint32_t> &array) {
        return add_value(func, opcode, type, {}, array);
    }
    /// Instruction of "GLSL.std.450".
    uint32_t add_external(Function &func, SpvExt instruction, uint32_t type, Words operands);
    uint32_t add_external(Function &func, SpvExt instruction, uint32_t type, const Array<uint32_t> &array);
    /// OpLabel with a new id, which is returned.
    uint32_t add_label(Function &func);
    /// OpBranch to \p target. For ~0 the word to patch is the last one of func.opcodes.
    void add_branch(Function &func, uint32_t target = ~0u);
    /// Writes \p target into the words at \p offsets.
    static void patch_opcodes(Function &func, const Array<uint32_t> &offsets, uint32_t target);
    void begin_opcode(Function &func, SpvOp opcode, uint64_t size);
    bool is_valid_opcode(SpvOp opcode) const;
    static bool is_terminator(uint32_t opcode);
    static uint32_t get_opcode(uint32_t word) { return word & 0xFFFFu; }
    static uint32_t get_size(uint32_t word) { return word >> 16; }

    uint32_t add_load(Function &func, uint32_t type, uint32_t pointer);
    void add_store(Function &func, uint32_t pointer, uint32_t value);
    uint32_t add_unary_opcode(Function &func, SpvOp opcode, Flags flags, uint32_t value);
    uint32_t add_binary_opcode(Function &func, SpvOp opcode, Flags flags, uint32_t value_0, uint32_t value_1);
    uint32_t add_extract_opcode(Function &func, uint32_t value, uint32_t index);
    /// All \p width components equal to a scalar.
    uint32_t add_expand_opcode(Function &func, uint32_t value, uint32_t width);
    /// Value converted to the format and bits of \p to, its width kept.
    uint32_t add_cast_opcodes(Function &func, Flags to, uint32_t value);
    /// Value converted to a type by id: numeric casts, and structures and arrays whose layouts differ.
    /// ~0 if there is no way.
    uint32_t add_convert_opcodes(Function &func, uint32_t type, uint32_t value);

    // -- KolmCompilerModule.cpp -------------------------------------------------------------------------------------

    void validate_decorations();
    void create_opcodes(uint32_t profile, uint32_t version, const char *macros);
    void create_function(Function &func);
    void create_stub(Function &func);
    void create_names(const char *macros);
    void create_decorations();
    void lower_storage_buffers();
    void validate_modes() const;
    uint32_t get_module_version() const;
    void get_module_name(const String &name, uint32_t target, bool source_name, String &text) const;
    bool is_arrayed(const Variable &variable) const;
    void add_locations(const SmallMap &decorations, uint32_t type, Array<uint32_t> &places, const String &name);

    // -- State ------------------------------------------------------------------------------------------------------

    // Of this compile, from compileGLSL and the first scan.
    Options options = OptionNone;
    NameMap<bool> extensions; // names of #extension lines
    Set<uint32_t> capabilities;
    uint32_t execution_model = ~0u;
    SmallMap execution_modes;           // mode to value, ~0 for one without
    uint32_t group_size[3] = {1, 1, 0}; // the last is 0 until a size is declared
    uint32_t source_profile = 0;        // operands of OpSource
    uint32_t source_version = 0;
    const char *source = nullptr;       // the whole text, for offsets
    uint32_t *source_offset = nullptr;  // where compileGLSL reports the position
    bool internal_text = false;         // reading a line of add_builtin
    bool explicit_barycentrics = false; // a built-in that only an extension declares
    uint32_t depth = 0;                 // of the recursion through the parsers, see Depth

    // Symbols.
    Scope global;
    StableArray<Variable> variables;
    StableArray<Structure> structures;
    StableArray<Reference> references;
    StableArray<Function> functions;
    uint32_t entry_function = ~0u;      // index of "main"
    NameMap<uint32_t> function_names;   // to the first function of a name
    NameMap<uint32_t> layout_names;     // second layouts of structures, to the index of the structure
    Array<Operand> reference_operands;  // of each reference: the array of words under it
    TargetMap<uint32_t> target_indices; // id to index in variables, structures or functions

    // Types and values.
    Array<uint32_t>
        pointers;            // word offsets in opcodes of OpTypePointer with storage class 12, patched for old versions
    Array<uint32_t> opcodes; // the global section while parsing, then the module
    uint32_t num_targets = 1;
    uint32_t external_target = ~0u; // id of the import of "GLSL.std.450"
    NameMap<uint32_t> type_targets; // internal name to the id of the type
    TargetMap<Target> targets;
    TargetMap<uint32_t> constant_indices; // id to index in constants
    StableArray<Constant> constants;
    Array<uint32_t> named_targets;         // of each named constant: id of its value, ~0 until it is used
    StableArray<Constant> named_constants; // values of constant variables
    Array<uint32_t> constant_slots;        // hash table of constant ids
    Array<uint32_t> array_types;           // ids of array types, in order of their making
    Array<uint32_t> array_strides;         // of each in bytes, ~0 for none
    TargetMap<uint32_t> pointer_types;     // id of a pointer type to its storage class
    TargetMap<SmallMap> target_decorations;
    TargetMap<Tensor> tensors;
    uint32_t flag_targets[256] = {}; // id of a numeric type by a code of its flags, 0 unset

    String message;

    // Name tables.
    NameMap<const char *> types;          // of the source to internal
    NameMap<const char *> internal_types; // and back
    NameMap<uint32_t> internal_functions; // to the row in the table of KolmCompilerCall.cpp
    NameMap<uint32_t> external_functions;
    NameMap<bool> reserved_qualifiers;
    NameMap<uint32_t> format_names;
    NameMap<uint32_t> builtin_names;
    NameMap<uint32_t> storage_qualifiers;
    NameMap<uint32_t> structure_qualifiers;
    NameMap<uint32_t> decoration_qualifiers;
    NameMap<uint32_t> execution_qualifiers;
    NameMap<uint32_t> layout_qualifiers;
    void create_functions(); // internal_functions, external_functions: KolmCompilerCall.cpp

    static StringStack<64> get_text(const char *s, uint32_t length) {
        StringStack<64> text;
        text.append(s, length);
        return text;
    }

    /// Counts the recursion of a parser for as long as it lives. Too deep a nesting is an error.
    struct Depth : public NoCopy {
        explicit Depth(Compiler &compiler) : compiler(compiler) { check_depth(++compiler.depth); }
        ~Depth() { compiler.depth--; }
        Compiler &compiler;
    };
};

} // namespace Kolm
