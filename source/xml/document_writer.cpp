#include "xml/document_writer.h"

#include <tinyxml.h>

#include "manifest/manifest.h"
#include "utils/base64.h"

namespace integrity_check_tool::xml {

namespace {

TiXmlElement* AddChild(TiXmlNode& parent, const char* name)
{
    return parent.LinkEndChild(new TiXmlElement(name))->ToElement();
}

void SetText(TiXmlElement& element, const char* name, const std::string& value)
{
    if (!value.empty()) {
        element.SetAttribute(name, value);
    }
}

template <class T>
void SetOptional(TiXmlElement& element, const char* name, const std::optional<T>& value)
{
    if (!value) {
        return;
    }
    if constexpr (std::is_enum_v<T>) {
        element.SetAttribute(name, ToName(*value));
    } else {
        element.SetAttribute(name, std::to_string(*value));
    }
}

void SetConditions(TiXmlElement& element, const Applicability& entry)
{
    ForEachCondition([&](const auto& condition) {
        SetOptional(element, condition.attribute, entry.*condition.member);
    });
}

void AddChecks(TiXmlElement& parent, const CheckInfoList& checks)
{
    for (const CheckInfoPtr& check : checks) {
        TiXmlElement* element = AddChild(parent, "Check");
        element->SetAttribute("type", ToName(check->type));
        if (!check->value.empty()) {
            element->SetAttribute("value", Base64Encode(check->value));
        }
    }
}

void AddFiles(TiXmlElement& parent, const FileList& files)
{
    for (const FileInfo& file : files) {
        TiXmlElement* element = AddChild(parent, "File");
        SetConditions(*element, file);
        SetText(*element, "path", file.path);
        AddChecks(*element, file.checks);
    }
}

}  // namespace

std::string PrintDocument(const Manifest& manifest)
{
    TiXmlDocument document;
    TiXmlElement* root = AddChild(document, "Manifest");
    SetText(*root, "productName", manifest.productName);
    SetText(*root, "productVersion", manifest.productVersion);
    SetText(*root, "generationDateTime", manifest.generationDateTime);
    for (const EnvironmentInfo& variable : manifest.environments) {
        TiXmlElement* element = AddChild(*root, "Environment");
        SetConditions(*element, variable);
        SetText(*element, "key", variable.key);
        SetText(*element, "value", variable.value);
    }
    AddFiles(*root, manifest.files);
    for (const DirectoryInfo& directory : manifest.directories) {
        TiXmlElement* element = AddChild(*root, "Files");
        SetConditions(*element, directory);
        SetText(*element, "path", directory.path);
        AddFiles(*element, directory.files);
    }
    for (const RegistryKeyInfo& key : manifest.registries) {
        TiXmlElement* element = AddChild(*root, "Registry");
        SetConditions(*element, key);
        SetText(*element, "path", key.path);
        for (const RegistryValueInfo& value : key.values) {
            TiXmlElement* child = AddChild(*element, "Value");
            SetConditions(*child, value);
            SetText(*child, "name", value.name);
            child->SetAttribute("type", ToName(value.type));
            AddChecks(*child, value.checks);
        }
    }
    TiXmlPrinter printer;
    printer.SetIndent("    ");
    document.Accept(&printer);
    return printer.Str();
}

}  // namespace integrity_check_tool::xml
