#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/program_options.hpp>

#include "config.h"
#include "enums.h"
#include "types.h"

namespace integrity_check_tool {

namespace po = boost::program_options;

/// Command line of one program flavour: declares its options, parses the
/// whole argument list (program name first) and builds the run's Config.
class Arguments {
public:
    virtual ~Arguments() = default;

    /// True when "help" was given.
    virtual bool IsHelpRequested() const;
    /// Usage lines, the schema line and the visible option groups.
    virtual void PrintHelp(std::ostream& out) const;
    /// The run configuration; throws Exception for unusable values.
    virtual ConfigPtr CreateConfig() const = 0;

    /// Manifests to verify; throws when one is not a regular file.
    virtual std::set<Path> GetManifestPaths() const;
    /// The "crl" directory, if given; throws when it is not a directory.
    virtual std::optional<Path> GetCrlStoragePath() const;
    virtual Path GetConfigPath() const;
    virtual Path GetManifestPath() const;

    /// Parses `arguments`; option errors come back as Exception carrying the help text.
    void Parse(const std::vector<std::string>& arguments);

protected:
    Arguments() = default;

    /// Runs before anything is declared.
    virtual void OnStart() {}
    /// Adds the flavour's visible option groups to `visible`.
    virtual void CreateVisibleOptions(po::options_description& visible) = 0;
    virtual void CreateHiddenOptions(po::options_description& hidden);
    virtual void CreatePositionalOptions(po::positional_options_description& positional);
    /// Validates combinations after parsing (skipped when help was asked).
    virtual void CheckVariables() const {}
    virtual std::vector<std::string> UsageLines() const = 0;
    /// The name the usage lines show.
    virtual const char* ProgramName() const = 0;

    /// Rethrows a parser error as Exception: message, blank line, help.
    [[noreturn]] void RethrowWithHelp(const std::exception& error) const;

    /// Checks each path and returns them as an ordered set.
    static std::set<Path> CheckManifestPaths(const std::vector<std::string>& paths);

    bool Has(const char* name) const { return variables_.count(name) != 0; }
    /// The verification record of the options that the checker and the tool share.
    Config::Verify VerifyRecord() const;
    const po::variables_map& Variables() const noexcept { return variables_; }

private:
    po::options_description visible_;
    po::variables_map variables_;
};
using ArgumentsPtr = std::shared_ptr<Arguments>;

/// Looks `text` up in the enumeration's name table; throws the parser's
/// invalid-option-value error for an unknown name.
template <class T> T ParseOptionValue(const std::string& text)
{
    try {
        return FromName<T>(text);
    } catch (const std::exception&) {
        throw po::invalid_option_value(text);
    }
}

/// Help text with the allowed names of T filled into "%1%".
template <class T> std::string HelpWithNames(const char* format);

// program_options converts enumeration options through these.
void validate(boost::any& value, const std::vector<std::string>& texts, CheckType*, int);
void validate(boost::any& value, const std::vector<std::string>& texts, SignatureType*, int);
void validate(boost::any& value, const std::vector<std::string>& texts, Arch*, int);
void validate(boost::any& value, const std::vector<std::string>& texts, Os*, int);
void validate(boost::any& value, const std::vector<std::string>& texts, OsEdition*, int);
void validate(boost::any& value, const std::vector<std::string>& texts, Bitness*, int);

}  // namespace integrity_check_tool
