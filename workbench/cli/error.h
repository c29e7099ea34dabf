// Errors that end a command with a message instead of a result.
#pragma once

#include <stdexcept>
#include <string>

namespace workbench {

// Anything the user can mend. what() is the whole message.
struct UserError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An input that does not read as it should: "FILE:LINE: expected a capacity, got 'x'".
// Line 0 stands for the file as a whole.
struct InputError : UserError {
    InputError(const std::string& file, int line, const std::string& expected);
};

}  // namespace workbench
