#include <stdexcept>

#include <gtest/gtest.h>

#include "exception.h"
#include "manifest/enums.h"

namespace integrity_check_tool {
namespace {

template <class T>
std::string Rejection(const std::string& name)
{
    try {
        FromName<T>(name);
    } catch (const Exception& error) {
        return error.GetDescription();
    }
    return "accepted";
}

TEST(NamedValuesTest, NamesMatchExactlyAndCaseSensitively)
{
    EXPECT_EQ(FromName<CheckType>("Sha256"), CheckType::Sha256);
    for (const char* name : {"sha256", "SHA256", " Sha256", "Sha256 ", ""}) {
        EXPECT_EQ(Rejection<CheckType>(name), std::string("Invalid name: ") + name);
    }
    EXPECT_EQ(FromName<Bitness>("32"), Bitness::Bits32);
    EXPECT_EQ(FromName<Bitness>("64"), Bitness::Bits64);
    EXPECT_EQ(Rejection<Bitness>("x64"), "Invalid name: x64");
    EXPECT_EQ(FromName<SignatureType>("lum-with-filename"), SignatureType::LumWithFilename);
}

TEST(NamedValuesTest, EveryNameRoundTrips)
{
    for (std::uint32_t i = 0; i < 11; ++i) {
        const auto type = static_cast<RegistryType>(i);
        EXPECT_EQ(FromName<RegistryType>(ToName(type)), type);
    }
    for (std::uint32_t i = 0; i < 7; ++i) {
        const auto arch = static_cast<Arch>(i);
        EXPECT_EQ(FromName<Arch>(ToName(arch)), arch);
    }
    EXPECT_EQ(JoinNames<Os>(", "), "Linux, Windows, MacOS");
}

}  // namespace
}  // namespace integrity_check_tool
