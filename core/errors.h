// The program's two exception types. Each carries the number that the user
// sees in front of the message, so a report can be looked up by its code.
#pragma once

#include <stdexcept>
#include <string>

namespace orv {

/// An error the user can mend: a wrong folder, a missing file, a typo.
/// what() is "code: text", except code 99 which shows the text alone.
class UserErrorException : public std::runtime_error {
public:
    UserErrorException(int CODE, const std::string& TEXT);
    int code;
};

/// A fault of the system; what() is "sys error code: text".
class SysErrorException : public std::runtime_error {
public:
    SysErrorException(int CODE, const std::string& TEXT);
    int code;
};

} // namespace orv
