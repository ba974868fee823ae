#include "sign/lum_credentials.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <openssl/crypto.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/input_file.h"
#include "sign/messages.h"
#include "sign/pkcs11_uri.h"

namespace integrity_check_tool::sign {

namespace {

/// The first of `uris` that names a module, and that all that do name the same.
std::optional<Path> ModuleOf(const std::vector<const Pkcs11Uri*>& uris)
{
    std::optional<Path> module;
    for (const Pkcs11Uri* uri : uris) {
        const std::optional<Path>& named = uri->GetModulePath();
        if (named && module && *named != *module) {
            ICT_THROW(messages::kTwoModules, module->string(), named->string());
        }
        if (named) {
            module = named;
        }
    }
    return module;
}

std::unique_ptr<Pkcs11Token> OpenToken(const SignOptions& options,
                                       const std::vector<const Pkcs11Uri*>& uris)
{
    const std::optional<Path> uriModule = ModuleOf(uris);
    std::optional<Path> pinFile = options.pinFile;
    for (const Pkcs11Uri* uri : uris) {
        if (!pinFile) {
            pinFile = uri->GetPinFile();
        }
    }
    return std::make_unique<Pkcs11Token>(options.pkcs11Module ? options.pkcs11Module : uriModule,
                                         pinFile ? ReadSecretLine(*pinFile, messages::kEmptyPin)
                                                 : std::string());
}

}  // namespace

LumCredentials LoadLumCredentials(const SignOptions& options)
{
    const std::string certificate = options.certificate.value_or(Path()).string();
    // Parsed first: a refused URI is reported before any file is read.
    std::optional<Pkcs11Uri> keyUri;
    std::optional<Pkcs11Uri> certificateUri;
    std::vector<const Pkcs11Uri*> uris;
    if (Pkcs11Uri::Is(options.key.string())) {
        uris.push_back(&keyUri.emplace(options.key.string()));
    }
    if (Pkcs11Uri::Is(certificate)) {
        uris.push_back(&certificateUri.emplace(certificate));
    }

    LumCredentials credentials;
    if (!uris.empty()) {
        credentials.token = OpenToken(options, uris);
    }
    credentials.key = keyUri ? credentials.token->LoadPrivateKey(*keyUri)
                             : LoadPrivateKey(options.key, options.passFile);
    credentials.certificate = certificateUri ? credentials.token->LoadCertificate(*certificateUri)
                                             : LoadCertificate(certificate);
    return credentials;
}

}  // namespace integrity_check_tool::sign
