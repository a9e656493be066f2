// The loaded library reports the version its headers state.
#include <gtest/gtest.h>

#include <string>

#include "version.h"

namespace {

TEST(Version, LibraryReportsTheHeadersNumbersAndString)
{
    int major = -1, minor = -1, patch = -1;
    const char* text = GetFlowerVersion(&major, &minor, &patch);
    EXPECT_EQ(major * 10000 + minor * 100 + patch,
              FLOWER_VERSION_MAJOR * 10000 + FLOWER_VERSION_MINOR * 100 + FLOWER_VERSION_PATCH);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, FLOWER_VERSION_STRING);
    EXPECT_EQ(std::string(text),
              std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch));
    // Null pointers are skipped.
    minor = -1;
    EXPECT_STREQ(GetFlowerVersion(nullptr, &minor, nullptr), FLOWER_VERSION_STRING);
    EXPECT_EQ(minor, FLOWER_VERSION_MINOR);
}

} // namespace
