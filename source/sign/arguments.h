#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <boost/program_options.hpp>

#include "exception.h"
#include "sign/options.h"

namespace integrity_check_tool::sign {

/// A command line the tool can't run: the description is the reason only.
// Not final: BOOST_THROW_EXCEPTION derives from it.
class UsageError : public Exception {
public:
    using Exception::Exception;
};

/// The signing tool's command line: five forms, chosen by --type,
/// --make-crl, --make-container, --gen-key or the --tsa options.
class SignArguments final {
public:
    SignArguments();

    /// Parses the whole argument list (program name first); throws
    /// UsageError with the reason.
    void Parse(const std::vector<std::string>& arguments);

    /// True when --help was given (nothing else is then validated).
    bool IsHelpRequested() const;
    /// The usage lines and the options.
    void PrintHelp(std::ostream& out) const;

    Mode GetMode() const noexcept { return mode_; }
    /// Valid after Parse in Mode::Sign.
    const SignOptions& GetSignOptions() const noexcept { return sign_; }
    /// Valid after Parse in Mode::MakeCrl.
    const CrlOptions& GetCrlOptions() const noexcept { return crl_; }
    /// Valid after Parse in Mode::MakeContainer.
    const ContainerOptions& GetContainerOptions() const noexcept { return container_; }
    /// Valid after Parse in Mode::GenerateKey.
    const KeyOptions& GetKeyOptions() const noexcept { return key_; }
    /// Valid after Parse in the three time-stamping modes.
    const TimestampOptions& GetTimestampOptions() const noexcept { return stamp_; }

private:
    void Validate();
    void ValidateSign();
    void ValidateCrl();
    void ValidateContainer();
    void ValidateKey();
    void ValidateTimestamp();
    /// Throws when an option outside `allowed` was given for `form`.
    void AllowOnly(const std::vector<std::string>& allowed, const char* form) const;
    void Require(const char* option, const char* form) const;
    [[noreturn]] void Refuse(const std::string& message) const;

    boost::program_options::options_description visible_;
    boost::program_options::options_description all_;
    boost::program_options::variables_map variables_;
    Mode mode_ = Mode::Sign;
    SignOptions sign_;
    CrlOptions crl_;
    ContainerOptions container_;
    KeyOptions key_;
    TimestampOptions stamp_;
};

}  // namespace integrity_check_tool::sign
