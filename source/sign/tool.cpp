#include "sign/tool.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "exception.h"
#include "sign/arguments.h"
#include "sign/container_builder.h"
#include "sign/crl_maker.h"
#include "sign/file_signer.h"
#include "sign/key_generator.h"
#include "sign/signer_factory.h"
#include "sign/timestamp_commands.h"
#include "utils/atomic_file.h"
#include "utils/closing_line.h"

namespace integrity_check_tool::sign {

using crypto::X509CrlPtr;

namespace {

void WriteAtomically(const Path& path, std::string_view content)
{
    AtomicFile file(path);
    file.Write(content);
    file.Commit();
}

void SignFile(const SignOptions& options)
{
    const ISignerPtr signer = CreateSigner(options);
    const ISigner::Verdict verdict = FileSigner(*signer).Sign(options);
    if (!verdict.warning.empty()) {
        std::cerr << verdict.warning << '\n';
    }
    if (!verdict.verified.empty()) {
        std::cout << verdict.verified << '\n';
    }
}

void MakeCrl(const CrlOptions& options)
{
    const X509CrlPtr crl = CrlMaker(options.caCertificate, options.caKey, options.passFile)
                               .Make(options.serials, options.days);
    WriteAtomically(options.output, CrlMaker::ToPem(*crl));
}

void MakeContainer(const ContainerOptions& options)
{
    ContainerBuilder builder(options.roots);
    for (const Path& crl : options.crls) {
        builder.Add(crl);
    }
    const Blob container = builder.Build();
    WriteAtomically(options.output,
                    {reinterpret_cast<const char*>(container.data()), container.size()});
    for (const std::string& warning : builder.GetWarnings()) {
        std::cerr << warning << '\n';
    }
}

Outcome Run(const std::vector<std::string>& argv)
{
    SignArguments arguments;
    arguments.Parse(argv);
    if (arguments.IsHelpRequested()) {
        arguments.PrintHelp(std::cout);
        return Outcome::Quiet;
    }
    switch (arguments.GetMode()) {
    case Mode::Sign:
        SignFile(arguments.GetSignOptions());
        break;
    case Mode::MakeCrl:
        MakeCrl(arguments.GetCrlOptions());
        break;
    case Mode::MakeContainer:
        MakeContainer(arguments.GetContainerOptions());
        break;
    case Mode::GenerateKey:
        GenerateKeyPair(arguments.GetKeyOptions());
        break;
    case Mode::TimestampQuery:
        WriteTimestampQuery(arguments.GetTimestampOptions());
        break;
    case Mode::TimestampEmbed:
        EmbedTimestampReply(arguments.GetTimestampOptions());
        break;
    case Mode::TimestampFetch:
        FetchTimestamp(arguments.GetTimestampOptions());
        break;
    }
    return Outcome::Succeeded;
}

}  // namespace

int RunSignTool(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv, argv + argc);
    // Known before parsing, so that a usage error is described in full too.
    const bool debug = std::find(arguments.begin() + (argc > 0 ? 1 : 0), arguments.end(),
                                 "--debug") != arguments.end();
    return RunWithClosingLine([&] {
        if (debug) {
            return Run(arguments);  // failures get the full diagnostic
        }
        // A release engineer needs the reason, on one line.
        try {
            return Run(arguments);
        } catch (const UsageError& error) {
            std::cout.flush();
            std::cerr << "integrity_sign: " << error.GetDescription() << '\n'
                      << "Try 'integrity_sign --help'.\n";
        } catch (...) {
            std::cout.flush();
            std::cerr << CurrentExceptionMessage() << '\n';
        }
        return Outcome::Failed;
    });
}

}  // namespace integrity_check_tool::sign
