#include "xml/document_reader.h"

#include <tinyxml.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <memory>

#include <boost/exception/get_error_info.hpp>

#include "exception.h"
#include "manifest/manifest.h"
#include "utils/base64.h"
#include "xml/file.h"

namespace integrity_check_tool::xml {

namespace {

using Element = TiXmlElement;

/// Calls `read` and attaches the element's position to an Exception that
/// carries none yet.
template <class Read> auto AtElement(const Element& element, Read read)
{
    try {
        return read();
    } catch (Exception& error) {
        if (boost::get_error_info<XmlRow>(error) == nullptr) {
            error << XmlRow(element.Row()) << XmlColumn(element.Column());
        }
        throw;
    }
}

template <class Visit> void ForEachChild(const Element& parent, const char* name, Visit visit)
{
    for (const Element* child = parent.FirstChildElement(name); child != nullptr;
         child = child->NextSiblingElement(name)) {
        AtElement(*child, [&] { visit(*child); });
    }
}

/// The attribute's value, or null when absent; borrowed from the document,
/// which saves a copy of every attribute a manifest has.
const std::string* FindAttr(const Element& element, std::string_view name)
{
    for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next()) {
        if (attribute->NameTStr() == name) {
            return &attribute->ValueStr();
        }
    }
    return nullptr;
}

/// As File::LoadAttr, without the copy.
std::string_view AttrView(const Element& element, std::string_view name)
{
    const std::string* value = FindAttr(element, name);
    return value == nullptr ? std::string_view() : std::string_view(*value);
}

/// A condition's value by name or number; absent or empty leaves `field` as it is.
template <class T>
void LoadCondition(const Element& element, const char* name, std::optional<T>& field)
{
    const std::string_view text = AttrView(element, name);
    if (text.empty()) {
        return;
    }
    if constexpr (std::is_enum_v<T>) {
        field = FromName<T>(text);
    } else {
        field = File::ReadNumber(std::string(text));
    }
}

void LoadConditions(const Element& element, Applicability& entry)
{
    ForEachCondition([&](const auto& condition) {
        LoadCondition(element, condition.attribute, entry.*condition.member);
    });
}

/// Base64Decode of `text`. The canonical form every writer produces (whole
/// quads of the standard alphabet, at most two '=' at the end) is decoded
/// here, since Boost's iterators cost as much as the rest of a file entry;
/// anything else is left to Base64Decode.
Blob DecodeValue(std::string_view text)
{
    static constexpr auto kDigits = [] {
        std::array<std::int8_t, 256> digits{};
        digits.fill(-1);
        const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (int i = 0; i < 64; ++i) {
            digits[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
        }
        digits['='] = 0;
        return digits;
    }();
    if (text.size() % 4 != 0) {
        return Base64Decode(text);
    }
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    Blob bytes(text.size() / 4 * 3);
    for (std::size_t in = 0, out = 0; in < text.size(); in += 4, out += 3) {
        std::uint32_t quad = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const char c = text[in + i];
            const std::int8_t digit = kDigits[static_cast<unsigned char>(c)];
            if (digit < 0 || (c == '=' && in + i < text.size() - padding)) {
                return Base64Decode(text);
            }
            quad = quad << 6 | static_cast<std::uint32_t>(digit);
        }
        bytes[out] = static_cast<std::uint8_t>(quad >> 16);
        bytes[out + 1] = static_cast<std::uint8_t>(quad >> 8);
        bytes[out + 2] = static_cast<std::uint8_t>(quad);
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

CheckInfoList LoadChecks(const Element& parent)
{
    CheckInfoList checks;
    ForEachChild(parent, "Check", [&](const Element& element) {
        auto check = std::make_shared<CheckInfo>();
        if (const std::string* type = FindAttr(element, "type")) {
            check->type = FromName<CheckType>(*type);
        }
        check->value = DecodeValue(AttrView(element, "value"));
        checks.push_back(std::move(check));
    });
    return checks;
}

/// The child elements of `parent` named `name`, in document order.
std::vector<const Element*> Children(const Element& parent, const char* name)
{
    std::vector<const Element*> children;
    for (const Element* child = parent.FirstChildElement(name); child != nullptr;
         child = child->NextSiblingElement(name)) {
        children.push_back(child);
    }
    return children;
}

FileList LoadFiles(const std::vector<const Element*>& elements)
{
    // Sorted by path first, so that each entry is built in its final place;
    // the entries are still read in document order, which decides the error
    // reported when several are wrong.
    PathSortKeys paths;
    paths.Reserve(elements.size());
    for (const Element* element : elements) {
        paths.Add(AttrView(*element, "path"));
    }
    paths.Sort();
    std::vector<std::size_t> positions(elements.size());
    for (std::size_t position = 0; position < positions.size(); ++position) {
        positions[paths.Index(position)] = position;
    }
    std::vector<FileInfo> files(elements.size());
    for (std::size_t index = 0; index < elements.size(); ++index) {
        const Element& element = *elements[index];
        AtElement(element, [&] {
            FileInfo& file = files[positions[index]];
            LoadConditions(element, file);
            file.checks = LoadChecks(element);
        });
    }
    // Paths are stored in sorted order, so that the passes that follow
    // (collapsing, expansion) read them from consecutive memory.
    for (std::size_t position = 0; position < files.size(); ++position) {
        files[position].path = paths.Path(position);
    }
    FileList list;
    list.Items() = std::move(files);
    return list;
}

void ReadCurrent(const Element& root, Manifest& manifest)
{
    manifest.productName = File::LoadAttr(root, "productName");
    manifest.productVersion = File::LoadAttr(root, "productVersion");
    manifest.generationDateTime = File::LoadAttr(root, "generationDateTime");
    // A large manifest's root has its files as children by the hundred
    // thousand: one walk sorts them by kind, each kind read in turn after.
    std::vector<const Element*> environments;
    std::vector<const Element*> files;
    std::vector<const Element*> groups;
    for (const Element* child = root.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        const std::string& name = child->ValueStr();
        if (name == "File") {
            files.push_back(child);
        } else if (name == "Environment") {
            environments.push_back(child);
        } else if (name == "Files" || name == "Registry") {
            groups.push_back(child);
        }
    }
    for (const Element* element : environments) {
        AtElement(*element, [&] {
            EnvironmentInfo& variable = manifest.environments.emplace_back();
            LoadConditions(*element, variable);
            variable.key = File::LoadAttr(*element, "key");
            variable.value = File::LoadAttr(*element, "value");
        });
    }
    manifest.files = LoadFiles(files);
    for (const Element* child : groups) {
        if (child->ValueStr() == "Files") {
            AtElement(*child, [&] {
                DirectoryInfo& directory = manifest.directories.emplace_back();
                directory.path = File::LoadAttr(*child, "path");
                LoadConditions(*child, directory);
                directory.files = LoadFiles(Children(*child, "File"));
            });
        } else {
            AtElement(*child, [&] {
                RegistryKeyInfo& key = manifest.registries.emplace_back();
                key.path = File::LoadAttr(*child, "path");
                LoadConditions(*child, key);
                std::vector<RegistryValueInfo> values;
                ForEachChild(*child, "Value", [&](const Element& element) {
                    RegistryValueInfo& value = values.emplace_back();
                    LoadConditions(element, value);
                    value.name = File::LoadAttr(element, "name");
                    value.type = FromName<RegistryType>(File::LoadAttr(element, "type"));
                    value.checks = LoadChecks(element);
                });
                key.values.InsertAll(std::move(values));
            });
        }
    }
}

/// The value of a legacy attribute looked up in `table`; absent or empty
/// leaves `field` as it is.
template <class T, std::size_t N>
void LoadLegacy(const Element& element, const char* name,
                const std::pair<const char*, std::optional<T>> (&table)[N], std::optional<T>& field)
{
    const std::string text = File::LoadAttr(element, name);
    if (text.empty()) {
        return;
    }
    for (const auto& [spelling, value] : table) {
        if (text == spelling) {
            field = value;
            return;
        }
    }
    File::ThrowAttrInvalidValue(element, name, text);
}

void LoadLegacyConditions(const Element& element, Applicability& entry)
{
    // The old bitness attribute is deliberately an architecture condition.
    static const std::pair<const char*, std::optional<Arch>> kBitness[] = {{"64", Arch::X86_64},
                                                                           {"32", Arch::X86}};
    static const std::pair<const char*, std::optional<Os>> kOs[] = {{"linux", Os::Linux},
                                                                    {"windows", Os::Windows}};
    static const std::pair<const char*, std::optional<OsEdition>> kEdition[] = {
        {"server", OsEdition::Server},
        {"desktop", OsEdition::Desktop},
        {"any", std::nullopt},
        {"none", std::nullopt}};
    LoadLegacy(element, "bitness", kBitness, entry.arch);
    LoadLegacy(element, "os", kOs, entry.os);
    LoadLegacy(element, "edition", kEdition, entry.osEdition);
    LoadCondition(element, "minVersionNT", entry.minVersionNt);
    LoadCondition(element, "maxVersionNT", entry.maxVersionNt);
}

std::string Text(const Element& element)
{
    const char* text = element.GetText();
    return text == nullptr ? std::string() : std::string(text);
}

void ReadLegacy(const Element& root, Manifest& manifest)
{
    manifest.generationDateTime = File::LoadAttr(root, "generationDatetime");
    std::vector<FileInfo> files;
    ForEachChild(root, "File", [&](const Element& element) {
        FileInfo& file = files.emplace_back();
        LoadLegacyConditions(element, file);
        const Element* path = element.FirstChildElement("Path");
        if (path == nullptr) {
            File::ThrowNodeAbsent("Path");
        }
        file.path = Text(*path);
        ForEachChild(element, "Hash", [&](const Element& hash) {
            auto check = std::make_shared<CheckInfo>();
            const std::string algorithm = File::LoadAttr(hash, "algorithm");
            if (algorithm == "GOST_34.12-2012") {
                check->type = CheckType::Gost2012;
            } else if (algorithm == "SHA256") {
                check->type = CheckType::Sha256;
            } else {
                File::ThrowAttrInvalidValue(hash, "algorithm", algorithm);
            }
            std::string value = Text(hash);
            std::erase_if(value,
                          [](char c) { return std::isspace(static_cast<unsigned char>(c)); });
            check->value = Base64Decode(value);
            file.checks.push_back(std::move(check));
        });
    });
    manifest.files.InsertAll(std::move(files));
}

}  // namespace

void ReadDocument(const TiXmlDocument& document, Manifest& manifest)
{
    const TiXmlNode* scope = document.FirstChildElement("Config");
    if (scope == nullptr) {
        scope = &document;
    }
    if (const Element* root = scope->FirstChildElement("Manifest")) {
        AtElement(*root, [&] { ReadCurrent(*root, manifest); });
    } else if (const Element* legacy = document.FirstChildElement("IntegrityManifest")) {
        AtElement(*legacy, [&] { ReadLegacy(*legacy, manifest); });
    } else {
        File::ThrowNodeAbsent("Manifest");
    }
}

}  // namespace integrity_check_tool::xml
