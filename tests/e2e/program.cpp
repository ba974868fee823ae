#include "program.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include <boost/filesystem/operations.hpp>
#include <lum/format.h>

namespace integrity_check_tool::test {

namespace {

/// The built program, or its copy in $ICT_TEST_PROGRAM_DIR when set (CI
/// runs the tests on programs placed in a private directory that way).
std::string ProgramPath(Program program)
{
    const Path built = program == Program::Checker     ? ICT_CHECKER_PATH
                       : program == Program::CheckTool ? ICT_CHECK_TOOL_PATH
                       : program == Program::Tester    ? ICT_TESTER_PATH
                                                       : ICT_SIGN_PATH;
    const char* directory = std::getenv("ICT_TEST_PROGRAM_DIR");
    return directory == nullptr || *directory == '\0'
               ? built.string()
               : (Path(directory) / built.filename()).string();
}

::testing::AssertionResult Outcome(const ProcessResult& result, int status, const std::string& text,
                                   const std::string& part)
{
    if (result.exitStatus == status && text.find(part) != std::string::npos) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "expected exit status " << status << " and \"" << part
                                         << "\", got " << result.exitStatus << "\nout:\n"
                                         << result.out << "err:\n"
                                         << result.err;
}

}  // namespace

ProcessResult RunProgram(Program program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory,
                         const std::vector<std::string>& launcher)
{
    return RunProcess(ProgramPath(program), arguments, workingDirectory, launcher);
}

ProcessResult RunProgramUnprivileged(Program program, const std::vector<std::string>& arguments,
                                     const Path& shared)
{
    if (::geteuid() != 0) {
        return RunProgram(program, arguments);
    }
    const Path source(ProgramPath(program));
    const Path copy = shared / source.filename();
    if (!boost::filesystem::exists(copy)) {
        boost::filesystem::copy_file(source, copy);
        boost::filesystem::permissions(copy, boost::filesystem::perms(0755));
    }
    return RunProcess(copy.string(), arguments, {},
                      {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
}

void OpenToEveryone(const Path& root)
{
    namespace fs = boost::filesystem;
    for (fs::recursive_directory_iterator it(root), end; it != end; ++it) {
        fs::permissions(it->path(),
                        fs::is_directory(it->path()) ? fs::perms(0755) : fs::perms(0644));
    }
}

::testing::AssertionResult Succeeded(const ProcessResult& result, const std::string& outPart)
{
    return Outcome(result, 0, result.out, outPart);
}

::testing::AssertionResult Failed(const ProcessResult& result, const std::string& errPart)
{
    return Outcome(result, 1, result.err, errPart);
}

std::string CannotRead(const std::string& path, const std::string& why)
{
    return "file " + path + " failed. Reason: Can't read or access file " + path +
           ". Reason: " + why;
}

std::string DemoPki(const std::string& relative)
{
    return std::string(ICT_DEMO_PKI_DIR) + "/" + relative;
}

// The emulator, if any, must not pass the host's preload on to the program, and
// AddressSanitizer must accept a library loaded before its runtime.
std::vector<std::string> At(int days, std::vector<std::string> command)
{
    const char* asan = std::getenv("ASAN_OPTIONS");
    std::string offset = std::to_string(days) + "d";
    if (days >= 0) {
        offset.insert(offset.begin(), '+');
    }
    std::vector<std::string> moved{"env",
                                   "QEMU_UNSET_ENV=LD_PRELOAD",
                                   "ASAN_OPTIONS=" + std::string(asan != nullptr ? asan : "") +
                                       ":verify_asan_link_order=0",
                                   "faketime",
                                   "-f",
                                   offset};
    moved.insert(moved.end(), command.begin(), command.end());
    return moved;
}

bool HasFaketime()
{
    return RunHostProcess({"faketime", "-f", "+0d", "true"}).exitStatus == 0;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string MakeDemoCrlDirectory(const Path& directory, const DemoRevocations& revoked, int days,
                                 const std::string& crlDays)
{
    const std::vector<std::string> launcher = days == 0 ? std::vector<std::string>{} : At(days);
    std::vector<std::string> pack{"--make-container"};
    std::vector<std::string> crls;
    for (const auto& [root, serials] : revoked) {
        const std::string crl = directory.string() + "-" + root + ".crl";
        std::vector<std::string> make{"--make-crl",
                                      "--ca-cert",
                                      DemoPki("regular/" + root + ".pem"),
                                      "--ca-key",
                                      DemoPki("regular/" + root + ".key"),
                                      "--output",
                                      crl};
        if (!crlDays.empty()) {
            make.insert(make.end(), {"--days", crlDays});
        }
        for (const std::string& serial : serials) {
            make.insert(make.end(), {"--revoke", serial});
        }
        EXPECT_TRUE(Succeeded(RunProgram(Program::Sign, make, {}, launcher)));
        pack.insert(pack.end(), {"--root", DemoPki("regular/" + root + ".pem")});
        crls.push_back(crl);
    }
    boost::filesystem::create_directories(directory);
    pack.insert(pack.end(), {"--output", (directory / crypto::lum::kContainerName).string()});
    pack.insert(pack.end(), crls.begin(), crls.end());
    EXPECT_TRUE(Succeeded(RunProgram(Program::Sign, pack, {}, launcher)));
    return directory.string();
}

std::string SignedProductTest::Flags(const ProcessResult& result, const Path& file)
{
    const std::string prefix = "Can't verify LUM signature of file " + file.string() + ". Flags: ";
    const std::size_t at = result.err.find(prefix);
    if (result.exitStatus != 1 || at == std::string::npos) {
        return "exit " + std::to_string(result.exitStatus) + ": " + result.err;
    }
    const std::size_t begin = at + prefix.size();
    return "|" + result.err.substr(begin, result.err.find('\n', begin) - begin) + "|";
}

SignedProductTest::SignedProductTest()
{
    WriteFile(dir_ / "product/agent", "x");
    content_ = "<Manifest productName=\"Demo\" productVersion=\"1.0\">"
               "<File path=\"%ProductRoot%/agent\"><Check type=\"Value\" "
               "value=\"eA==\"/></File></Manifest>\n";
    WriteFile(Manifest(), content_);
}

}  // namespace integrity_check_tool::test
