#include "sign/arguments.h"

#include <algorithm>

#include "exception.h"
#include "sign/messages.h"
#include "sign/pkcs11_uri.h"

namespace integrity_check_tool::sign {

namespace po = boost::program_options;

namespace {

constexpr const char* kSignForm = "--type";
constexpr const char* kCrlForm = "--make-crl";
constexpr const char* kContainerForm = "--make-container";
constexpr const char* kKeyForm = "--gen-key";
constexpr const char* kQueryForm = "--tsa-query";
constexpr const char* kEmbedForm = "--tsa-reply";
constexpr const char* kFetchForm = "--tsa-url";

constexpr int kMaxDays = 36500;

std::vector<Path> ToPaths(const std::vector<std::string>& texts)
{
    return {texts.begin(), texts.end()};
}

}  // namespace

SignArguments::SignArguments() : visible_("Options")
{
    // clang-format off
    po::options_description signing("Signing a file (in place unless --output is given)");
    signing.add_options()
        ("type", po::value<std::string>()->value_name("TYPE"),
         "signature type: lum, lum-with-filename or vorn2")
        ("key", po::value<std::string>()->value_name("KEY"),
         "the signer's private key (PEM or DER, or a pkcs11: URI for a key in a token; a PEM "
         "GOST key for vorn2)")
        ("cert", po::value<std::string>()->value_name("LEAF"),
         "the signer's certificate, with the codeSigning extended key usage (lum types; a file "
         "or a pkcs11: URI)")
        ("pkcs11-module", po::value<std::string>()->value_name("MODULE"),
         "the PKCS#11 module of the token (default: the URI's module-path, else "
         "$PKCS11_MODULE_PATH, else p11-kit's proxy)")
        ("pin-file", po::value<std::string>()->value_name("FILE"),
         "the token's PIN: the first line of FILE (default: the URI's pin-source)")
        ("chain", po::value<std::string>()->value_name("CHAIN"),
         "PEM file of the intermediate certificates from LEAF up to its root, carried in the "
         "signature (lum types); the result must verify before it is written")
        ("pass-file", po::value<std::string>()->value_name("FILE"),
         "the passphrase of an encrypted KEY (or --ca-key): the first line of FILE (default: "
         "asked on the terminal)")
        ("digest", po::value<std::string>()->value_name("NAME")->default_value("sha256"),
         "message digest: sha256, sha384 or sha512 (lum types; vorn2 follows the key size)")
        ("replace", po::bool_switch(), "replace an existing signature instead of refusing");

    po::options_description revocation("Revocation");
    revocation.add_options()
        ("make-crl", po::bool_switch(), "make a CRL signed by a root certificate")
        ("ca-cert", po::value<std::string>()->value_name("ROOT"),
         "the root certificate that issues the CRL")
        ("ca-key", po::value<std::string>()->value_name("KEY"), "the root's private key")
        ("revoke", po::value<std::vector<std::string>>()->value_name("SERIAL")->composing(),
         "serial number to revoke, hexadecimal as 'openssl x509 -serial' prints it (repeatable)")
        ("days", po::value<int>()->value_name("N")->default_value(30),
         "days until the CRL's next update")
        ("make-container", po::bool_switch(),
         "pack CRLs into the revocation container (lumcrl.rdb)")
        ("root", po::value<std::vector<std::string>>()->value_name("ROOT")->composing(),
         "a root certificate (repeatable): with --make-container, one whose CRL goes into the "
         "container, each needing one; when signing, the root to verify the signature under "
         "instead of the compiled-in ones");

    po::options_description keys("GOST keys for vorn2");
    keys.add_options()
        ("gen-key", po::value<std::string>()->value_name("TYPE"),
         "generate a key pair: gost256 or gost512; the private key goes to --output "
         "(mode 0600, never overwritten)")
        ("paramset", po::value<std::string>()->value_name("SET")->default_value("A"),
         "TC26 parameter set: A, B, C or D for gost256, A, B or C for gost512")
        ("pubout", po::value<std::string>()->value_name("PUB"),
         "also write the public key (PEM SubjectPublicKeyInfo)");

    po::options_description stamping(
        "Time-stamping a lum signature (in place unless --output is given)");
    stamping.add_options()
        ("tsa-query", po::value<std::string>()->value_name("REQ"),
         "the time-stamp request: written for FILE when alone, the request a reply must "
         "answer with --tsa-reply")
        ("tsa-reply", po::value<std::string>()->value_name("REP"),
         "embed the token of this time-stamp reply (as 'openssl ts -reply' writes it)")
        ("tsa-url", po::value<std::string>()->value_name("URL"),
         "ask the time-stamping authority at URL and embed its token");

    po::options_description general("General");
    general.add_options()
        ("output", po::value<std::string>()->value_name("PATH"), "the file to write")
        ("debug", po::bool_switch(),
         "on failure, print the full diagnostic instead of the one-line reason")
        ("help,h", "print this help");
    // clang-format on

    visible_.add(signing).add(revocation).add(keys).add(stamping).add(general);
    po::options_description hidden;
    hidden.add_options()("input", po::value<std::vector<std::string>>());
    all_.add(visible_).add(hidden);
}

void SignArguments::Parse(const std::vector<std::string>& arguments)
{
    try {
        po::positional_options_description positional;
        positional.add("input", -1);
        const std::vector<std::string> options(arguments.begin() + (arguments.empty() ? 0 : 1),
                                               arguments.end());
        po::store(po::command_line_parser(options).options(all_).positional(positional).run(),
                  variables_);
        po::notify(variables_);
    } catch (const po::error& error) {
        Refuse(error.what());
    }
    if (!IsHelpRequested()) {
        Validate();
    }
}

bool SignArguments::IsHelpRequested() const
{
    return variables_.count("help") != 0;
}

void SignArguments::PrintHelp(std::ostream& out) const
{
    out << "Usage:\n"
           "  integrity_sign --type lum|lum-with-filename --key KEY --cert LEAF --chain CHAIN\n"
           "                 [--root ROOT]... [--pass-file FILE] [--pkcs11-module MODULE]\n"
           "                 [--pin-file FILE] [--digest sha256|sha384|sha512] [--output OUT]\n"
           "                 [--replace] FILE\n"
           "  integrity_sign --type vorn2 --key KEY [--output OUT] [--replace] FILE\n"
           "  integrity_sign --make-crl --ca-cert ROOT.pem --ca-key ROOT.key [--pass-file FILE]\n"
           "                 [--revoke SERIAL]... [--days N] --output CRL.pem\n"
           "  integrity_sign --make-container --root ROOT.pem [--root ROOT2.pem]...\n"
           "                 --output lumcrl.rdb CRL [CRL]...\n"
           "  integrity_sign --gen-key gost256|gost512 [--paramset A|B|C|D] --output KEY\n"
           "                 [--pubout PUB]\n"
           "  integrity_sign --tsa-query REQ FILE\n"
           "  integrity_sign --tsa-reply REP [--tsa-query REQ] [--output OUT] FILE\n"
           "  integrity_sign --tsa-url URL [--output OUT] FILE\n"
           "Add --debug to any form for the full diagnostic of a failure.\n\n";
    out << visible_;
}

void SignArguments::Validate()
{
    const auto given = [this](const char* name) {
        return variables_.count(name) != 0 && !variables_[name].defaulted();
    };
    const bool stamping = given("tsa-query") || given("tsa-reply") || given("tsa-url");
    const int forms = int{given("type")} + int{given("make-crl")} + int{given("make-container")} +
                      int{given("gen-key")} + int{stamping};
    if (forms == 0) {
        Refuse(messages::kNoMode);
    }
    if (forms > 1) {
        Refuse(messages::kTwoModes);
    }
    if (given("type")) {
        ValidateSign();
    } else if (given("make-crl")) {
        ValidateCrl();
    } else if (given("make-container")) {
        ValidateContainer();
    } else if (stamping) {
        ValidateTimestamp();
    } else {
        ValidateKey();
    }
}

void SignArguments::ValidateSign()
{
    mode_ = Mode::Sign;
    AllowOnly({"type", "key", "cert", "pkcs11-module", "pin-file", "chain", "root", "pass-file",
               "digest", "replace", "output", "input"},
              kSignForm);
    const std::string type = variables_["type"].as<std::string>();
    try {
        sign_.type = FromName<SignatureType>(type);
    } catch (const Exception&) {
        Refuse(Format(messages::kUnknownType, type));
    }
    Require("key", kSignForm);
    if (sign_.type == SignatureType::Vorn2) {
        for (const char* option : {"cert", "chain", "root", "digest", "pass-file"}) {
            if (variables_.count(option) != 0 && !variables_[option].defaulted()) {
                Refuse(Format(messages::kNotForVorn2, option));
            }
        }
    } else {
        Require("cert", kSignForm);
    }
    const bool inToken =
        Pkcs11Uri::Is(variables_["key"].as<std::string>()) ||
        (variables_.count("cert") != 0 && Pkcs11Uri::Is(variables_["cert"].as<std::string>()));
    if (sign_.type == SignatureType::Vorn2 && inToken) {
        Refuse(messages::kVorn2NotInToken);
    }
    if (!inToken && (variables_.count("pkcs11-module") != 0 || variables_.count("pin-file") != 0)) {
        Refuse(messages::kTokenOptionsWithoutUri);
    }
    sign_.digest = variables_["digest"].as<std::string>();
    static constexpr const char* kDigests[] = {"sha256", "sha384", "sha512"};
    if (std::find(std::begin(kDigests), std::end(kDigests), sign_.digest) == std::end(kDigests)) {
        Refuse(Format(messages::kUnknownDigest, sign_.digest));
    }
    if (variables_.count("input") == 0 ||
        variables_["input"].as<std::vector<std::string>>().size() != 1) {
        Refuse(messages::kOneFile);
    }
    sign_.key = variables_["key"].as<std::string>();
    if (variables_.count("cert") != 0) {
        sign_.certificate = Path(variables_["cert"].as<std::string>());
    }
    if (variables_.count("pkcs11-module") != 0) {
        sign_.pkcs11Module = Path(variables_["pkcs11-module"].as<std::string>());
    }
    if (variables_.count("pin-file") != 0) {
        sign_.pinFile = Path(variables_["pin-file"].as<std::string>());
    }
    if (variables_.count("chain") != 0) {
        sign_.chain = Path(variables_["chain"].as<std::string>());
    }
    if (variables_.count("root") != 0) {
        sign_.roots = ToPaths(variables_["root"].as<std::vector<std::string>>());
    }
    if (variables_.count("pass-file") != 0) {
        sign_.passFile = Path(variables_["pass-file"].as<std::string>());
    }
    if (variables_.count("output") != 0) {
        sign_.output = Path(variables_["output"].as<std::string>());
    }
    sign_.file = variables_["input"].as<std::vector<std::string>>().front();
    sign_.replace = variables_["replace"].as<bool>();
}

void SignArguments::ValidateCrl()
{
    mode_ = Mode::MakeCrl;
    if (variables_.count("input") != 0) {
        Refuse(Format(messages::kNoPositional, kCrlForm));
    }
    AllowOnly({"make-crl", "ca-cert", "ca-key", "pass-file", "revoke", "days", "output"}, kCrlForm);
    Require("ca-cert", kCrlForm);
    Require("ca-key", kCrlForm);
    Require("output", kCrlForm);
    crl_.days = variables_["days"].as<int>();
    if (crl_.days < 1 || crl_.days > kMaxDays) {
        Refuse(Format(messages::kBadDays, crl_.days));
    }
    crl_.caCertificate = variables_["ca-cert"].as<std::string>();
    crl_.caKey = variables_["ca-key"].as<std::string>();
    if (variables_.count("pass-file") != 0) {
        crl_.passFile = Path(variables_["pass-file"].as<std::string>());
    }
    if (variables_.count("revoke") != 0) {
        crl_.serials = variables_["revoke"].as<std::vector<std::string>>();
    }
    crl_.output = variables_["output"].as<std::string>();
}

void SignArguments::ValidateContainer()
{
    mode_ = Mode::MakeContainer;
    AllowOnly({"make-container", "root", "output", "input"}, kContainerForm);
    Require("root", kContainerForm);
    Require("output", kContainerForm);
    if (variables_.count("input") == 0) {
        Refuse(messages::kNoCrls);
    }
    container_.roots = ToPaths(variables_["root"].as<std::vector<std::string>>());
    container_.crls = ToPaths(variables_["input"].as<std::vector<std::string>>());
    container_.output = variables_["output"].as<std::string>();
}

void SignArguments::ValidateKey()
{
    mode_ = Mode::GenerateKey;
    if (variables_.count("input") != 0) {
        Refuse(Format(messages::kNoPositional, kKeyForm));
    }
    AllowOnly({"gen-key", "paramset", "output", "pubout"}, kKeyForm);
    Require("output", kKeyForm);
    const std::string type = variables_["gen-key"].as<std::string>();
    if (type == "gost256" || type == "gost512") {
        key_.bits = type == "gost256" ? 256 : 512;
    } else {
        Refuse(Format(messages::kUnknownKeyType, type));
    }
    // The generator checks the set against the key size.
    key_.paramSet = variables_["paramset"].as<std::string>();
    key_.output = variables_["output"].as<std::string>();
    if (variables_.count("pubout") != 0) {
        key_.publicOutput = Path(variables_["pubout"].as<std::string>());
        if (*key_.publicOutput == key_.output) {
            Refuse(messages::kSameKeyFiles);
        }
    }
}

void SignArguments::ValidateTimestamp()
{
    if (variables_.count("tsa-url") != 0) {
        mode_ = Mode::TimestampFetch;
        AllowOnly({"tsa-url", "output", "input"}, kFetchForm);
        stamp_.url = variables_["tsa-url"].as<std::string>();
    } else if (variables_.count("tsa-reply") != 0) {
        mode_ = Mode::TimestampEmbed;
        AllowOnly({"tsa-reply", "tsa-query", "output", "input"}, kEmbedForm);
        stamp_.reply = Path(variables_["tsa-reply"].as<std::string>());
    } else {
        mode_ = Mode::TimestampQuery;
        AllowOnly({"tsa-query", "input"}, kQueryForm);
    }
    if (variables_.count("input") == 0 ||
        variables_["input"].as<std::vector<std::string>>().size() != 1) {
        Refuse(messages::kOneSignedFile);
    }
    stamp_.file = variables_["input"].as<std::vector<std::string>>().front();
    if (variables_.count("tsa-query") != 0) {
        stamp_.query = Path(variables_["tsa-query"].as<std::string>());
    }
    if (variables_.count("output") != 0) {
        stamp_.output = Path(variables_["output"].as<std::string>());
    }
}

void SignArguments::AllowOnly(const std::vector<std::string>& allowed, const char* form) const
{
    for (const auto& [name, value] : variables_) {
        if (!value.defaulted() && name != "debug" &&
            std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
            Refuse(Format(messages::kOptionNotForMode, name, form));
        }
    }
}

void SignArguments::Require(const char* option, const char* form) const
{
    if (variables_.count(option) == 0) {
        Refuse(Format(messages::kOptionRequired, option, form));
    }
}

void SignArguments::Refuse(const std::string& message) const
{
    BOOST_THROW_EXCEPTION(UsageError(message));
}

}  // namespace integrity_check_tool::sign
