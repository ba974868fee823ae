#include "xml/document_reader.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include <boost/exception/get_error_info.hpp>
#include <tinyxml.h>

#include "exception.h"
#include "manifest/manifest.h"
#include "utils/base64.h"
#include "xml/file.h"

namespace integrity_check_tool::xml {

namespace {

using Element = TiXmlElement;

/// Calls `read` and attaches the element's position to an Exception that
/// carries none yet.
template <class Read>
auto AtElement(const Element& element, Read read)
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

template <class Visit>
void ForEachChild(const Element& parent, const char* name, Visit visit)
{
    for (const Element* child = parent.FirstChildElement(name); child != nullptr;
         child = child->NextSiblingElement(name)) {
        AtElement(*child, [&] { visit(*child); });
    }
}

template <class T>
void LoadEnum(const Element& element, const char* name, std::optional<T>& field)
{
    const std::string text = File::LoadAttr(element, name);
    if (!text.empty()) {
        field = FromName<T>(text);
    }
}

void LoadNumber(const Element& element, const char* name, std::optional<std::uint32_t>& field)
{
    const std::string text = File::LoadAttr(element, name);
    if (!text.empty()) {
        field = File::ReadNumber(text);
    }
}

void LoadConditions(const Element& element, Applicability& entry)
{
    LoadEnum(element, "arch", entry.arch);
    LoadEnum(element, "os", entry.os);
    LoadEnum(element, "edition", entry.osEdition);
    LoadEnum(element, "bitness", entry.bitness);
    LoadNumber(element, "minVersionNt", entry.minVersionNt);
    LoadNumber(element, "maxVersionNt", entry.maxVersionNt);
    LoadNumber(element, "linuxKernelVersion", entry.linuxKernelVersion);
}

CheckInfoList LoadChecks(const Element& parent)
{
    CheckInfoList checks;
    ForEachChild(parent, "Check", [&](const Element& element) {
        auto check = std::make_shared<CheckInfo>();
        if (element.Attribute("type") != nullptr) {
            check->type = FromName<CheckType>(File::LoadAttr(element, "type"));
        }
        check->value = Base64Decode(File::LoadAttr(element, "value"));
        checks.push_back(std::move(check));
    });
    return checks;
}

FileList LoadFiles(const Element& parent)
{
    std::vector<FileInfo> files;
    ForEachChild(parent, "File", [&](const Element& element) {
        FileInfo& file = files.emplace_back();
        file.path = File::LoadAttr(element, "path");
        LoadConditions(element, file);
        file.checks = LoadChecks(element);
    });
    FileList list;
    list.InsertAll(std::move(files));
    return list;
}

void ReadCurrent(const Element& root, Manifest& manifest)
{
    manifest.productName = File::LoadAttr(root, "productName");
    manifest.productVersion = File::LoadAttr(root, "productVersion");
    manifest.generationDateTime = File::LoadAttr(root, "generationDateTime");
    ForEachChild(root, "Environment", [&](const Element& element) {
        EnvironmentInfo& variable = manifest.environments.emplace_back();
        LoadConditions(element, variable);
        variable.key = File::LoadAttr(element, "key");
        variable.value = File::LoadAttr(element, "value");
    });
    manifest.files = LoadFiles(root);
    for (const Element* child = root.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        const std::string& name = child->ValueStr();
        if (name == "Files") {
            AtElement(*child, [&] {
                DirectoryInfo& directory = manifest.directories.emplace_back();
                directory.path = File::LoadAttr(*child, "path");
                LoadConditions(*child, directory);
                directory.files = LoadFiles(*child);
            });
        } else if (name == "Registry") {
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
    static const std::pair<const char*, std::optional<Arch>> kBitness[] = {
        {"64", Arch::X86_64}, {"32", Arch::X86}};
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
    LoadNumber(element, "minVersionNT", entry.minVersionNt);
    LoadNumber(element, "maxVersionNT", entry.maxVersionNt);
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
            std::erase_if(value, [](char c) { return std::isspace(static_cast<unsigned char>(c)); });
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
