#include "sign/tool.h"

#include <iostream>
#include <string_view>

#include "exception.h"
#include "sign/arguments.h"
#include "sign/container_builder.h"
#include "sign/crl_maker.h"
#include "sign/file_signer.h"
#include "sign/key_generator.h"
#include "sign/signer_factory.h"
#include "utils/atomic_file.h"
#include "utils/utils.h"

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
}

}  // namespace

int RunSignTool(int argc, char** argv)
{
    try {
        SetUpGlobalLocale();
        SignArguments arguments;
        arguments.Parse({argv, argv + argc});
        if (arguments.IsHelpRequested()) {
            arguments.PrintHelp(std::cout);
            std::cout.flush();
            return 0;
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
        }
        std::cout << "SUCCEEDED" << std::endl;
        return 0;
    } catch (...) {
        std::cout.flush();
        std::cerr << DescribeCurrentException() << '\n' << "FAILED" << std::endl;
        return 1;
    }
}

}  // namespace integrity_check_tool::sign
