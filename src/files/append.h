#pragma once

// Where messages may be appended to a file.

#include <string>

#include "common/result.h"

// Looks at the end of a file that is to be appended to. `lineEnds` is what has to be written first, so that the last
// message in it and the first one behind it do not become one: nothing for a file that ends with an empty line, or that
// is no message file. Returns 0, or MQRC_FILE_SYSTEM_ERROR with a text for a file that ends inside a message.
Result LookAtEnd(const std::string& name, std::string& lineEnds);
