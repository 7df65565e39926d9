// The program's two exception types.
#include "core/errors.h"

#include <fmt/format.h>

namespace orv {

namespace {
std::string lf_userText(int CODE, const std::string& TEXT)
{
    // Code 99 is the update notice: the user reads a sentence, not an error number.
    if (CODE == 99) return TEXT;
    return fmt::format("{}: {}", CODE, TEXT);
}
} // namespace

UserErrorException::UserErrorException(int CODE, const std::string& TEXT)
    : std::runtime_error(lf_userText(CODE, TEXT)), code(CODE)
{
}

SysErrorException::SysErrorException(int CODE, const std::string& TEXT)
    : std::runtime_error("sys error " + std::to_string(CODE) + ": " + TEXT), code(CODE)
{
}

} // namespace orv
