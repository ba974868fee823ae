#pragma once

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/temp_dir.h"
#include "types.h"

namespace integrity_check_tool::test {

/// The built programs.
enum class Program { Checker, CheckTool, Tester, Sign };

/// Runs one of the built programs and collects its output.
ProcessResult RunProgram(Program program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory = {},
                         const std::vector<std::string>& launcher = {});

/// Runs one of the built programs as an unprivileged user when the tests
/// run as root, so that file permissions apply; otherwise like RunProgram.
/// The user may not be able to enter the checkout (a private home
/// directory, say), so it runs a copy of the program placed in `shared`, a
/// directory every user can enter.
ProcessResult RunProgramUnprivileged(Program program, const std::vector<std::string>& arguments,
                                     const Path& shared);

/// Makes every directory under `root` enterable and every file readable by
/// everyone, whatever the umask.
void OpenToEveryone(const Path& root);

/// Exit status 0 and, unless empty, `outPart` in the standard output.
::testing::AssertionResult Succeeded(const ProcessResult& result, const std::string& outPart = {});
/// Exit status 1 and, unless empty, `errPart` in the error output.
::testing::AssertionResult Failed(const ProcessResult& result, const std::string& errPart = {});

/// The line reporting that `path` could not be read, for `why`.
std::string CannotRead(const std::string& path, const std::string& why);

/// A file of the committed demo hierarchy, e.g. DemoPki("regular/leaf.pem").
std::string DemoPki(const std::string& relative);

/// A launcher (see RunProgram) that runs `command` with the clock moved by `days`.
std::vector<std::string> At(int days, std::vector<std::string> command = {});

/// Whether faketime, which At needs, is installed.
bool HasFaketime();

/// Splits output into lines (without line ends).
std::vector<std::string> Lines(const std::string& text);

/// Serials to revoke by regular demo root ("root", "tsa-root").
using DemoRevocations = std::vector<std::pair<std::string, std::vector<std::string>>>;

/// Makes with integrity_sign, `days` from now, the CRL directory `directory`:
/// a revocation container of one CRL for each root in `revoked`. The CRLs go to
/// `<directory>-<root>.crl` and last `crlDays` when that is given.
std::string MakeDemoCrlDirectory(const Path& directory, const DemoRevocations& revoked,
                                 int days = 0, const std::string& crlDays = {});

/// A product of one file, "agent", and its unsigned manifest, for the
/// signature tests.
class SignedProductTest : public ::testing::Test {
protected:
    SignedProductTest();

    /// What a passing check counts.
    static constexpr const char* kSummaryOk = "\tManifests: 0 / 0 / 1\n\tFiles: 0 / 0 / 1\n";

    Path Manifest() const { return dir_ / "product/integrity_check.xml"; }

    /// The flags of the signature error of a failed check of `file`, as
    /// "|A|B|"; otherwise the exit status and the error output.
    static std::string Flags(const ProcessResult& result, const Path& file);

    TempDir dir_;
    std::string content_;
};

}  // namespace integrity_check_tool::test
