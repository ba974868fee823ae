#include "enums.h"

#include <array>
#include <string>
#include <utility>

#include "exception.h"

namespace integrity_check_tool {

namespace {

/// Fixed table of (value, name) pairs; value i sits at position i.
template <class T, std::size_t N> class NamedValues {
public:
    using Entry = std::pair<T, std::string>;

    explicit NamedValues(std::array<Entry, N> entries) : entries_(std::move(entries)) {}

    T FromName(std::string_view name) const
    {
        for (const Entry& entry : entries_) {
            if (entry.second == name) {
                return entry.first;
            }
        }
        ICT_THROW("Invalid name: %1%", std::string(name));
    }

    const std::string& ToName(T value) const
    {
        return entries_.at(static_cast<std::size_t>(value)).second;
    }

    std::string Join(std::string_view separator) const
    {
        std::string joined;
        for (const Entry& entry : entries_) {
            if (!joined.empty()) {
                joined += separator;
            }
            joined += entry.second;
        }
        return joined;
    }

private:
    std::array<Entry, N> entries_;
};

template <class T> const auto& Table();

template <> const auto& Table<CheckType>()
{
    static const NamedValues<CheckType, 5> table({{
        {CheckType::Exists, "Exists"},
        {CheckType::NotExists, "NotExists"},
        {CheckType::Gost2012, "Gost2012"},
        {CheckType::Sha256, "Sha256"},
        {CheckType::Value, "Value"},
    }});
    return table;
}

template <> const auto& Table<SignatureType>()
{
    static const NamedValues<SignatureType, 3> table({{
        {SignatureType::Vorn2, "vorn2"},
        {SignatureType::Lum, "lum"},
        {SignatureType::LumWithFilename, "lum-with-filename"},
    }});
    return table;
}

template <> const auto& Table<Bitness>()
{
    static const NamedValues<Bitness, 2> table(
        {{{Bitness::Bits32, "32"}, {Bitness::Bits64, "64"}}});
    return table;
}

template <> const auto& Table<OsEdition>()
{
    static const NamedValues<OsEdition, 2> table(
        {{{OsEdition::Server, "Server"}, {OsEdition::Desktop, "Desktop"}}});
    return table;
}

template <> const auto& Table<Os>()
{
    static const NamedValues<Os, 3> table(
        {{{Os::Linux, "Linux"}, {Os::Windows, "Windows"}, {Os::MacOS, "MacOS"}}});
    return table;
}

template <> const auto& Table<Arch>()
{
    static const NamedValues<Arch, 7> table({{
        {Arch::X86_64, "X86_64"},
        {Arch::X86, "X86"},
        {Arch::IA64, "IA64"},
        {Arch::ARM32, "ARM32"},
        {Arch::ARM64, "ARM64"},
        {Arch::E2K32, "E2K32"},
        {Arch::E2K64, "E2K64"},
    }});
    return table;
}

template <> const auto& Table<RegistryType>()
{
    static const NamedValues<RegistryType, 11> table({{
        {RegistryType::Binary, "REG_BINARY"},
        {RegistryType::Dword, "REG_DWORD"},
        {RegistryType::DwordLittleEndian, "REG_DWORD_LITTLE_ENDIAN"},
        {RegistryType::DwordBigEndian, "REG_DWORD_BIG_ENDIAN"},
        {RegistryType::ExpandSz, "REG_EXPAND_SZ"},
        {RegistryType::Link, "REG_LINK"},
        {RegistryType::MultiSz, "REG_MULTI_SZ"},
        {RegistryType::None, "REG_NONE"},
        {RegistryType::Qword, "REG_QWORD"},
        {RegistryType::QwordLittleEndian, "REG_QWORD_LITTLE_ENDIAN"},
        {RegistryType::Sz, "REG_SZ"},
    }});
    return table;
}

}  // namespace

template <class T> T FromName(std::string_view name)
{
    return Table<T>().FromName(name);
}

template <class T> const std::string& ToName(T value)
{
    return Table<T>().ToName(value);
}

template <class T> std::string JoinNames(std::string_view separator)
{
    return Table<T>().Join(separator);
}

#define ICT_INSTANTIATE_NAMED_VALUES(T)                                                            \
    template T FromName<T>(std::string_view);                                                      \
    template const std::string& ToName<T>(T);                                                      \
    template std::string JoinNames<T>(std::string_view);

ICT_INSTANTIATE_NAMED_VALUES(CheckType)
ICT_INSTANTIATE_NAMED_VALUES(SignatureType)
ICT_INSTANTIATE_NAMED_VALUES(Bitness)
ICT_INSTANTIATE_NAMED_VALUES(OsEdition)
ICT_INSTANTIATE_NAMED_VALUES(Os)
ICT_INSTANTIATE_NAMED_VALUES(Arch)
ICT_INSTANTIATE_NAMED_VALUES(RegistryType)

#undef ICT_INSTANTIATE_NAMED_VALUES

}  // namespace integrity_check_tool
