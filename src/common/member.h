#pragma once

// Which field of a Record: a pointer to one of its members of type Value. Declarations of such pointers are written so,
// since versions of clang-format disagree about the blank beside the star.
template <typename Record, typename Value>
using Member = Value Record::*;
