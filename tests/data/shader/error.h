#define TYPE unknown_type
// comment
TYPE getValue() { return 1u; }
