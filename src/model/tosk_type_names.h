#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// The vocabulary of the parameter model: codes inside the program, names in JSON.

namespace model {

// The type of a parameter's value. The array types can be named but have no value class.
enum ToskValueType : int32_t {
    kTypeInt16 = 0,
    kTypeInt32 = 1,
    kTypeFloat = 2,
    kTypeString = 3,
    kTypeInt16Array = 4,
    kTypeInt32Array = 5,
    kTypeFloatArray = 6,
    kTypeStringArray = 7,
    kTypeStruct = 8,
    kTypeStructArray = 9,
};

// The kind of a constraint. Only kConstraintIntChoice has a class of its own.
enum ToskConstraintType : int32_t {
    kConstraintIntNull = 0,
    kConstraintFloatNull = 1,
    kConstraintIntRange = 2,
    kConstraintIntStepRange = 3,
    kConstraintFloatRange = 4,
    kConstraintFloatStepRange = 5,
    kConstraintIntChoice = 6,
    kConstraintAlarmTable = 7,
    kConstraintStruct = 8,
    kConstraintUndefined = 9,
};

// The class of an object in the object tree. Page layout groups have no class.
enum ToskObjectKind : int32_t {
    kKindObject = 0,
    kKindDevice = 1,
    kKindMenuGroup = 2,
    kKindMenu = 3,
    kKindPageLayoutGroup = 4,
    kKindOID = 5,
};

}  // namespace model

// "INT16" to "STRUCT_ARRAY"; the empty text for a code that is none of the ten.
const char* valueTypeName(int32_t code);

// The code of exactly this name, in this case; none for any other text.
std::optional<int32_t> valueTypeCode(std::string_view name);

// "INT_NULL" to "STRUCT"; "UNDEFINED" for every other code.
const char* constraintTypeName(int32_t code);

// The code of exactly this name; kConstraintUndefined for any other text.
int32_t constraintTypeCode(std::string_view name);

namespace model {

// "object" to "oid"; the empty text for a code that is none of the six. No JSON carries these.
const char* objectKindName(int32_t kind);

}  // namespace model
