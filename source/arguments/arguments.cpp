#include "arguments/arguments.h"

#include <sstream>

#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/filesystem/operations.hpp>

#include "exception.h"
#include "format.h"
#include "utils/utils.h"

namespace integrity_check_tool {

namespace {

constexpr const char* kDefaultManifestName = "integrity_check.xml";

template <class T> void ValidateEnum(boost::any& value, const std::vector<std::string>& texts)
{
    po::validators::check_first_occurrence(value);
    value = ParseOptionValue<T>(po::validators::get_single_string(texts));
}

}  // namespace

template <class T> std::string HelpWithNames(const char* format)
{
    return Format(format, JoinNames<T>(", "));
}

template std::string HelpWithNames<CheckType>(const char*);
template std::string HelpWithNames<SignatureType>(const char*);
template std::string HelpWithNames<Arch>(const char*);
template std::string HelpWithNames<Os>(const char*);
template std::string HelpWithNames<OsEdition>(const char*);
template std::string HelpWithNames<Bitness>(const char*);

void validate(boost::any& value, const std::vector<std::string>& texts, CheckType*, int)
{
    ValidateEnum<CheckType>(value, texts);
}
void validate(boost::any& value, const std::vector<std::string>& texts, SignatureType*, int)
{
    ValidateEnum<SignatureType>(value, texts);
}
void validate(boost::any& value, const std::vector<std::string>& texts, Arch*, int)
{
    ValidateEnum<Arch>(value, texts);
}
void validate(boost::any& value, const std::vector<std::string>& texts, Os*, int)
{
    ValidateEnum<Os>(value, texts);
}
void validate(boost::any& value, const std::vector<std::string>& texts, OsEdition*, int)
{
    ValidateEnum<OsEdition>(value, texts);
}
void validate(boost::any& value, const std::vector<std::string>& texts, Bitness*, int)
{
    ValidateEnum<Bitness>(value, texts);
}

bool Arguments::IsHelpRequested() const
{
    return Has("help");
}

void Arguments::PrintHelp(std::ostream& out) const
{
    for (const std::string& line : UsageLines()) {
        out << line << '\n';
    }
    out << SchemaLine() << '\n';
    out << visible_;
}

void Arguments::Parse(const std::vector<std::string>& arguments)
{
    OnStart();
    try {
        CreateVisibleOptions(visible_);
        po::options_description hidden("Hidden");
        CreateHiddenOptions(hidden);
        po::positional_options_description positional;
        CreatePositionalOptions(positional);

        po::options_description all;
        all.add(visible_).add(hidden);
        // The list is parsed whole: the hidden positional "program" takes
        // the program's name.
        po::store(po::command_line_parser(arguments).options(all).positional(positional).run(),
                  variables_);
        po::notify(variables_);
        if (!IsHelpRequested()) {
            CheckVariables();
        }
    } catch (const po::error& error) {
        RethrowWithHelp(error);
    }
}

void Arguments::CreateHiddenOptions(po::options_description& hidden)
{
    hidden.add_options()("program", po::value<std::string>());
}

void Arguments::CreatePositionalOptions(po::positional_options_description& positional)
{
    positional.add("program", 1);
}

void Arguments::RethrowWithHelp(const std::exception& error) const
{
    std::ostringstream text;
    text << error.what() << "\n\n";
    PrintHelp(text);
    BOOST_THROW_EXCEPTION(Exception(text.str()));
}

std::set<Path> Arguments::CheckManifestPaths(const std::vector<std::string>& paths)
{
    std::set<Path> result;
    for (const std::string& text : paths) {
        const Path path(text);
        boost::system::error_code error;
        const auto status = boost::filesystem::status(path, error);
        if (boost::filesystem::exists(status) && !boost::filesystem::is_regular_file(status)) {
            ICT_THROW("Manifest path %1% resolved to non-regular file", path.string());
        }
        result.insert(path);
    }
    return result;
}

std::set<Path> Arguments::GetManifestPaths() const
{
    if (Has("manifest")) {
        const boost::any& value = Variables()["manifest"].value();
        if (const auto* many = boost::any_cast<std::vector<std::string>>(&value)) {
            if (!many->empty()) {
                return CheckManifestPaths(*many);
            }
        } else if (const auto* one = boost::any_cast<std::string>(&value)) {
            return CheckManifestPaths({*one});
        }
    }
    boost::system::error_code error;
    const Path program = boost::dll::program_location(error);
    if (error) {
        ICT_THROW("boost::dll::program_location() failed");
    }
    return CheckManifestPaths({(program.parent_path() / kDefaultManifestName).string()});
}

std::optional<Path> Arguments::GetCrlStoragePath() const
{
    if (!Has("crl")) {
        return std::nullopt;
    }
    const Path path(Variables()["crl"].as<std::string>());
    boost::system::error_code error;
    if (!boost::filesystem::is_directory(path, error)) {
        ICT_THROW("CRL storage path %1% is not a directory", path.string());
    }
    return path;
}

Path Arguments::GetConfigPath() const
{
    if (!Has("config")) {
        ICT_THROW("Config path not specified");
    }
    return Path(Variables()["config"].as<std::string>());
}

Path Arguments::GetManifestPath() const
{
    if (!Has("manifest")) {
        ICT_THROW("Manifest path not specified");
    }
    const boost::any& value = Variables()["manifest"].value();
    if (const auto* one = boost::any_cast<std::string>(&value); one != nullptr && !one->empty()) {
        return Path(*one);
    }
    if (const auto* many = boost::any_cast<std::vector<std::string>>(&value);
        many != nullptr && !many->empty()) {
        return Path(many->front());
    }
    ICT_THROW("Manifest path not specified");
}

Config::Verify Arguments::VerifyRecord() const
{
    Config::Verify verify;
    verify.isVerbose = Has("verbose");
    verify.signatureType = Variables()["signature-type"].as<SignatureType>();
    verify.manifestPaths = GetManifestPaths();
    verify.crlStoragePath = GetCrlStoragePath();
    return verify;
}

}  // namespace integrity_check_tool
