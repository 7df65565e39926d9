// The log, the message area and the text helpers.
#include "core/errors.h"
#include "core/log.h"
#include "core/text_files.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

namespace orv {
namespace {

TEST(Errors, UserErrorShowsCodeExceptNinetyNine)
{
    EXPECT_STREQ(UserErrorException(41, "x").what(), "41: x");
    EXPECT_STREQ(UserErrorException(99, "New version").what(), "New version");
    EXPECT_STREQ(SysErrorException(40, "Failed").what(), "sys error 40: Failed");
}

} // namespace
} // namespace orv
