#include "sign/tool.h"

#include <iostream>
#include <string_view>

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
    FileSigner(*signer).Sign(options);
}

void MakeCrl(const CrlOptions& options)
{
    const X509CrlPtr crl =
        CrlMaker(options.caCertificate, options.caKey).Make(options.serials, options.days);
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

}  // namespace

int RunSignTool(int argc, char** argv)
{
    return RunWithClosingLine([&] {
        SignArguments arguments;
        arguments.Parse({argv, argv + argc});
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
    });
}

}  // namespace integrity_check_tool::sign
