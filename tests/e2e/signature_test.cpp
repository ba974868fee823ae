// Signed manifests end to end: integrity_sign (or stock openssl) signs,
// the checker and the tester verify against their compiled-in demo roots.

#include <functional>
#include <map>

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lum/format.h>

#include "program.h"
#include "support/pki.h"

namespace integrity_check_tool::test {
namespace {

/// The length of the header of the element at `at`, and of its content.
std::pair<std::size_t, std::size_t> Header(const std::string& der, std::size_t at)
{
    const auto first = static_cast<std::uint8_t>(der.at(at + 1));
    if ((first & 0x80) == 0) {
        return {2, first};
    }
    std::size_t length = 0;
    for (std::size_t i = 0; i < (first & 0x7Fu); ++i) {
        length = (length << 8) | static_cast<std::uint8_t>(der.at(at + 2 + i));
    }
    return {2 + (first & 0x7Fu), length};
}

std::string Content(const std::string& element)
{
    const auto [header, length] = Header(element, 0);
    return element.substr(header, length);
}

/// The whole encodings of the elements that fill `content`.
std::vector<std::string> Elements(const std::string& content)
{
    std::vector<std::string> elements;
    for (std::size_t at = 0; at < content.size();) {
        const auto [header, length] = Header(content, at);
        elements.push_back(content.substr(at, header + length));
        at += header + length;
    }
    return elements;
}

std::string Repeat(const std::string& element, std::size_t times)
{
    std::string out;
    for (std::size_t i = 0; i < times; ++i) {
        out += element;
    }
    return out;
}

class SignatureTest : public SignedProductTest {
protected:
    ProcessResult Sign(const std::string& set, const Path& file,
                       const std::vector<std::string>& extra = {"--type", "lum"}) const
    {
        std::vector<std::string> arguments = extra;
        arguments.insert(arguments.end(),
                         {"--key", DemoPki(set + "/leaf.key"), "--cert", DemoPki(set + "/leaf.pem"),
                          "--chain", DemoPki(set + "/inter.pem"), file.string()});
        return RunProgram(Program::Sign, arguments);
    }

    /// A copy of the unsigned manifest signed with the alternative set.
    Path SignAlternative() const
    {
        const Path other = dir_ / "product/alternative.xml";
        WriteFile(other, content_);
        EXPECT_TRUE(Succeeded(Sign("alternative", other)));
        return other;
    }

    ProcessResult Check(const Path& file, const std::vector<std::string>& extra = {},
                        Program program = Program::Checker) const
    {
        std::vector<std::string> arguments = extra;
        arguments.push_back(file.string());
        return RunProgram(program, arguments);
    }

    /// A CRL directory holding a revocation container of `databases`.
    std::string CrlDirectory(const std::string& name,
                             const std::vector<crypto::lum::RevocationDatabase>& databases) const
    {
        return RawCrlDirectory(name, pki::ToText(crypto::lum::BuildContainer(databases)));
    }
    /// A CRL directory holding `container` as it stands.
    std::string RawCrlDirectory(const std::string& name, const std::string& container) const
    {
        WriteFile(dir_ / name / crypto::lum::kContainerName, container);
        return (dir_ / name).string();
    }
};

TEST_F(SignatureTest, SignedManifestVerifiesAgainstItsOwnRootSetOnly)
{
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    EXPECT_TRUE(Succeeded(Check(Manifest()), kSummaryOk));
    // The tester trusts the alternative roots: the regular chain is incomplete there.
    EXPECT_THAT(Flags(Check(Manifest(), {}, Program::Tester), Manifest()),
                ::testing::HasSubstr("|IncompleteChain|"));
    const Path other = SignAlternative();
    EXPECT_TRUE(Succeeded(Check(other, {}, Program::Tester), kSummaryOk));
    EXPECT_THAT(Flags(Check(other), other), ::testing::HasSubstr("|IncompleteChain|"));
}

TEST_F(SignatureTest, DamagedSignedFilesAreRefused)
{
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    const std::string signedFile = ReadFile(Manifest());
    const std::size_t derStart = content_.size();
    const std::size_t trailerStart = signedFile.size() - crypto::lum::kTrailerSize;
    // Any changed byte: content, the CMS near its start and end, the length and the magic.
    for (const std::size_t offset :
         {std::size_t{0}, content_.size() / 2, derStart + 3, derStart + 80, trailerStart - 5,
          trailerStart + 3, signedFile.size() - 1}) {
        std::string tampered = signedFile;
        tampered[offset] = static_cast<char>(tampered[offset] ^ 0x01);
        WriteFile(Manifest(), tampered);
        EXPECT_TRUE(Failed(Check(Manifest()), "Can't verify LUM signature of file"))
            << "byte " << offset;
    }
    // Broken framing is malformed content, found without reading out of bounds.
    // The length of the CMS must end it exactly at the trailer.
    std::string padded = signedFile.substr(0, trailerStart) + '\0';
    const auto paddedTrailer =
        crypto::lum::MakeTrailer(static_cast<std::uint32_t>(trailerStart - derStart + 1));
    padded += std::string(paddedTrailer.begin(), paddedTrailer.end());
    const std::string magic(reinterpret_cast<const char*>(crypto::lum::kSignatureMagic.data()),
                            crypto::lum::kSignatureMagic.size());
    const std::pair<const char*, std::string> malformed[] = {
        {"unsigned", content_},
        {"empty", ""},
        {"trailer only", std::string("\0\0\0\x10", 4) + magic},
        {"length beyond the file", content_ + std::string("\xFF\xFF\xFF\xF0", 4) + magic},
        {"truncated trailer", signedFile.substr(0, signedFile.size() - 1)},
        {"cut inside the CMS",
         signedFile.substr(0, derStart + 40) + signedFile.substr(signedFile.size() - 12)},
        {"bytes after the signature", signedFile + "\x01garbage"},
        {"a byte between the CMS and the trailer", padded},
        {"content inside the CMS",
         pki::ToText(pki::Hierarchy::Load(DemoPki("regular"))
                         .Sign(pki::ToBlob(content_), {.detached = false}))},
    };
    for (const auto& [name, bytes] : malformed) {
        SCOPED_TRACE(name);
        WriteFile(Manifest(), bytes);
        EXPECT_EQ(Flags(Check(Manifest()), Manifest()), "|MalformedContent|");
    }
}

// What nobody signs (certificates, CRLs, unsigned attributes) can be grown
// without breaking the signature; past its bounds it is refused undecoded.
TEST_F(SignatureTest, UnsignedPartsPastTheirBoundsAreRefused)
{
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    const std::string signedFile = ReadFile(Manifest());
    const std::string crl = pki::ToText(pki::Hierarchy::Load(DemoPki("regular")).Crl({}));
    // SignedData fields: version, digestAlgorithms, encapContentInfo, [0]
    // certificates (leaf, intermediate), signerInfos.
    using Fields = std::vector<std::string>;
    const auto certificates = [](std::size_t copies) {
        return [copies](Fields& fields) {
            fields[3] = pki::Tlv(0xA0, Content(fields[3]) +
                                           Repeat(Elements(Content(fields[3]))[1], copies));
        };
    };
    const auto unsignedAttributes = [](std::size_t count, std::size_t values,
                                       const std::string& value = std::string("\x05\x00", 2)) {
        return [=](Fields& fields) {
            const std::string attribute = pki::Tlv(0x30, pki::Tlv(0x06, "\x2A\x03\x04") +
                                                             pki::Tlv(0x31, Repeat(value, values)));
            const std::string signerInfo = Content(Elements(Content(fields.back()))[0]);
            fields.back() = pki::Tlv(
                0x31, pki::Tlv(0x30, signerInfo + pki::Tlv(0xA1, Repeat(attribute, count))));
        };
    };
    const struct {
        const char* name;
        std::function<void(Fields&)> edit;
        bool verifies;
    } cases[] = {
        {"16 certificates", certificates(14), true},
        {"17 certificates", certificates(15), false},
        {"a CRL", [&](Fields& fields) { fields.insert(fields.end() - 1, pki::Tlv(0xA1, crl)); },
         false},
        {"5 digest algorithms",
         [](Fields& fields) { fields[1] = pki::Tlv(0x31, Repeat(Content(fields[1]), 5)); }, false},
        {"4 unsigned attributes of 4 values", unsignedAttributes(4, 4), true},
        {"5 unsigned attributes", unsignedAttributes(5, 1), false},
        {"an attribute of 5 values", unsignedAttributes(1, 5), false},
        {"more than 1 MiB", unsignedAttributes(1, 1, pki::Tlv(0x04, std::string(1 << 20, 'j'))),
         false},
    };
    const std::size_t derSize = signedFile.size() - content_.size() - crypto::lum::kTrailerSize;
    const std::vector<std::string> info =
        Elements(Content(signedFile.substr(content_.size(), derSize)));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Fields fields = Elements(Content(Content(info[1])));
        ASSERT_EQ(fields.size(), 5u);
        c.edit(fields);
        std::string fieldBytes;
        for (const std::string& field : fields) {
            fieldBytes += field;
        }
        const std::string der =
            pki::Tlv(0x30, info[0] + pki::Tlv(0xA0, pki::Tlv(0x30, fieldBytes)));
        const auto trailer = crypto::lum::MakeTrailer(static_cast<std::uint32_t>(der.size()));
        WriteFile(Manifest(), content_ + der + std::string(trailer.begin(), trailer.end()));
        if (c.verifies) {
            EXPECT_TRUE(Succeeded(Check(Manifest()), kSummaryOk));
        } else {
            EXPECT_EQ(Flags(Check(Manifest()), Manifest()), "|MalformedContent|");
        }
    }
}

// Leaves under the demo intermediate, each with one fault, and the good
// keys and digests besides the demo leaf's.
TEST_F(SignatureTest, CertificateProblemsNameTheirFlags)
{
    const pki::Hierarchy demo = pki::Hierarchy::Load(DemoPki("regular"));
    using Options = pki::CertificateOptions;
    const struct {
        const char* name;
        std::function<void(Options&)> edit;
        const char* flag;  ///< none when the signature verifies
        pki::Key::Type key = pki::Key::Type::P256;
        const char* digest = "SHA256";
    } cases[] = {
        {"expired",
         [](Options& o) {
             o.notBeforeDays = -30;
             o.notAfterDays = -1;
         },
         "|Expired|"},
        {"not yet valid", [](Options& o) { o.notBeforeDays = 2; }, "|Expired|"},
        {"no code signing", [](Options& o) { o.extendedKeyUsage = "serverAuth"; },
         "|InvalidPurpose|"},
        {"no extended key usage", [](Options& o) { o.extendedKeyUsage.clear(); },
         "|InvalidPurpose|"},
        {"no digitalSignature", [](Options& o) { o.keyUsage = "critical,keyEncipherment"; },
         "|InvalidUsage|"},
        {"unknown critical extension",
         [](Options& o) {
             o.extraExtensions.push_back({"1.3.6.1.4.1.32473.99", "critical,DER:05:00"});
         },
         "|UnconsumedCriticalExtension|"},
        {"RSA key, SHA-512", [](Options&) {}, nullptr, pki::Key::Type::Rsa2048, "SHA512"},
        {"SHA-384", [](Options&) {}, nullptr, pki::Key::Type::P256, "SHA384"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Options options = pki::LeafOptions(c.name, 7000);
        c.edit(options);
        const pki::Key key = pki::Key::Generate(c.key);
        WriteFile(Manifest(),
                  pki::ToText(pki::SignLum(pki::ToBlob(content_), demo.IssueLeaf(options, key), key,
                                           {demo.intermediate}, {.digest = c.digest})));
        if (c.flag == nullptr) {
            EXPECT_TRUE(Succeeded(Check(Manifest()), kSummaryOk));
        } else {
            EXPECT_THAT(Flags(Check(Manifest()), Manifest()), ::testing::HasSubstr(c.flag));
        }
    }
}

TEST_F(SignatureTest, WeakKeysAndSignaturesAndMisplacedCertificatesAreRefused)
{
    const std::map<std::string, std::string> expected = {
        {"RSA-512 signer", "|Signed|RevocationCheckSkipped|InvalidCertificateSign|"},
        {"P-224 signer", "|Signed|RevocationCheckSkipped|InvalidCertificateSign|"},
        {"RSA-1024 intermediate", "|Signed|RevocationCheckSkipped|InvalidCertificateSign|"},
        {"ECDSA-SHA1 signer", "|Signed|RevocationCheckSkipped|InvalidCertificateSign|"},
        {"RSA-MD5 signer", "|Signed|RevocationCheckSkipped|InvalidCertificateSign|"},
        {"SHA-1 intermediate", "|Signed|RevocationCheckSkipped|InvalidCertificateSign|"},
        {"CA signer", "|Signed|RevocationCheckSkipped|InvalidBasicContraints|"},
        {"serverAuth intermediate", "|Signed|RevocationCheckSkipped|InvalidPurpose|"},
        {"intermediate not a CA", "|Signed|RevocationCheckSkipped|InvalidBasicContraints|"},
    };
    const pki::Hierarchy demo = pki::Hierarchy::Load(DemoPki("regular"));
    auto signers = pki::PolicyBreakingSigners(demo);
    // May sign certificates by its key usage, but is no CA.
    pki::CertificateOptions notCa = pki::LeafOptions("Not a CA", 170);
    notCa.keyUsage = "critical,keyCertSign,digitalSignature";
    const pki::Key notCaKey = pki::Key::Generate();
    const pki::Certificate notCaCertificate =
        pki::IssueCertificate(notCa, notCaKey, &demo.root, demo.rootKey);
    const pki::Key key = pki::Key::Generate();
    signers.push_back(
        {"intermediate not a CA",
         key,
         pki::IssueCertificate(pki::LeafOptions("Signer", 171), key, &notCaCertificate, notCaKey),
         {notCaCertificate}});
    ASSERT_EQ(signers.size(), expected.size());
    for (const pki::Signer& signer : signers) {
        SCOPED_TRACE(signer.name);
        WriteFile(Manifest(), pki::ToText(pki::SignLum(pki::ToBlob(content_), signer.certificate,
                                                       signer.key, signer.chain)));
        EXPECT_EQ(Flags(Check(Manifest()), Manifest()), expected.at(signer.name));
    }
    // Weak digests in the CMS itself, with the demo leaf.
    for (const auto& [digest, signatureAlgorithm] :
         {std::pair{"SHA1", ""}, std::pair{"SHA256", "ecdsa-with-SHA1"}}) {
        SCOPED_TRACE(std::string(digest) + " " + signatureAlgorithm);
        WriteFile(Manifest(), pki::ToText(demo.Sign(
                                  pki::ToBlob(content_),
                                  {.digest = digest, .signatureAlgorithm = signatureAlgorithm})));
        EXPECT_EQ(Flags(Check(Manifest()), Manifest()), "|Signed|MalformedContent|");
    }
}

// Revocation lists made with integrity_sign.
TEST_F(SignatureTest, RevokedLeafOrIntermediateFails)
{
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    const pki::Hierarchy demo = pki::Hierarchy::Load(DemoPki("regular"));
    // A serial revokes in its own hierarchy only.
    EXPECT_TRUE(Succeeded(Check(
        Manifest(), {"--crl", MakeDemoCrlDirectory(dir_ / "unrelated",
                                                   {{"root", {"0123456789"}},
                                                    {"tsa-root", {demo.leaf.SerialHex()}}})})));
    for (const pki::Certificate* revoked : {&demo.leaf, &demo.intermediate}) {
        const std::string serial = revoked->SerialHex();
        const std::string crl = MakeDemoCrlDirectory(dir_ / serial, {{"root", {"0123", serial}}});
        EXPECT_THAT(Flags(Check(Manifest(), {"--crl", crl}), Manifest()),
                    ::testing::HasSubstr("|Revoked|"))
            << serial;
    }
}

TEST_F(SignatureTest, BadRevocationContainersStopTheCheck)
{
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    const pki::Hierarchy demo = pki::Hierarchy::Load(DemoPki("regular"));
    const pki::Hierarchy alternative = pki::Hierarchy::Load(DemoPki("alternative"));
    const crypto::lum::RevocationDatabase good{demo.HierarchyId(), demo.Crl({})};
    const crypto::lum::RevocationDatabase alternativeOnly{alternative.HierarchyId(),
                                                          alternative.Crl({})};
    const auto pack = [](const std::vector<crypto::lum::RevocationDatabase>& databases) {
        return pki::ToText(crypto::lum::BuildContainer(databases));
    };
    Blob truncated = demo.Crl({});
    truncated.pop_back();
    const char* forged = "Failed to verify signature of revocation database.";
    const struct {
        const char* name;
        std::string container;
        Program program;
        const char* trace;
    } cases[] = {
        {"duplicate", pack({good, good}), Program::Checker, "lumErrRdbAlreadyExists"},
        // A CRL in the root's name signed by another key.
        {"forged", pack({{demo.HierarchyId(), pki::MakeCrl(demo.root, alternative.rootKey, {})}}),
         Program::Checker, forged},
        {"root's key, another issuer",
         pack({{demo.HierarchyId(), pki::MakeCrl(demo.intermediate, demo.rootKey, {})}}),
         Program::Checker, forged},
        {"another root's CRL under its id", pack({{demo.HierarchyId(), alternative.Crl({})}}),
         Program::Checker, forged},
        {"absent", pack({alternativeOnly}), Program::Tester, "lumErrRdbAbsent"},
        // The root's own signature, under a digest too weak to trust.
        {"SHA-1",
         pack(
             {{demo.HierarchyId(), pki::MakeCrl(demo.root, demo.rootKey, {}, {.digest = "SHA1"})}}),
         Program::Checker, forged},
        {"not a container", "LUMRDB01garbage", Program::Checker,
         "Failed to load revocation databases container."},
        {"truncated CRL", pack({{demo.HierarchyId(), truncated}}), Program::Checker,
         "Failed to load revocation database."},
        {"empty identifier", pack({{{}, demo.Crl({})}}), Program::Checker,
         "Failed to get revocation databases identifier."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ProcessResult result =
            Check(Manifest(), {"--crl", RawCrlDirectory(c.name, c.container)}, c.program);
        EXPECT_TRUE(Failed(result, "Can't create LUM verifier"));
        EXPECT_NE(result.out.find(c.trace), std::string::npos) << result.out;
    }
    // Databases of roots no program knows are passed over.
    const pki::Hierarchy unknown = pki::Hierarchy::Make("Unknown", 0x4001);
    EXPECT_TRUE(Succeeded(Check(
        Manifest(),
        {"--crl", CrlDirectory("unknown", {{unknown.HierarchyId(), unknown.Crl({})}, good})})));
    // Both alternative roots covered: the tester accepts an alternative signature.
    pki::Hierarchy second = alternative;
    second.root = pki::Certificate::FromPem(ReadFile(DemoPki("alternative/root2.pem")));
    second.rootKey = pki::Key::FromPem(ReadFile(DemoPki("alternative/root2.key")));
    const std::string both =
        CrlDirectory("both", {alternativeOnly, {second.HierarchyId(), second.Crl({})}});
    EXPECT_TRUE(Succeeded(Check(SignAlternative(), {"--crl", both}, Program::Tester)));

    WriteFile(dir_ / "not-a-directory", "x");
    EXPECT_TRUE(
        Failed(Check(Manifest(), {"--crl", (dir_ / "not-a-directory").string()}),
               "CRL storage path " + (dir_ / "not-a-directory").string() + " is not a directory"));
}

// With --crl the operator asked for revocation checks: no revocation data
// must not pass for "nothing revoked".
TEST_F(SignatureTest, MissingOrEmptyRevocationContainersFailClosed)
{
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    const std::string gzipOfNothing("\x1F\x8B\x08\0\0\0\0\0\0\x03\x03\0\0\0\0\0\0\0\0\0", 20);
    const std::string zlibOfNothing("\x78\x9C\x03\0\0\0\0\x01", 8);
    const auto shell = [](const std::string& command) {
        ASSERT_TRUE(Succeeded(RunHostProcess({"sh", "-c", command})));
    };
    const std::string open = "Failed to open container lumcrl.rdb in storage";
    const struct {
        const char* name;
        std::function<void(const Path&)> make;
        std::string message;  ///< after "Revocation container <path> " unless it is `open`
    } cases[] = {
        {"empty", [](const Path& file) { WriteFile(file, ""); }, "is empty"},
        {"gzip of nothing", [&](const Path& file) { WriteFile(file, gzipOfNothing); }, "is empty"},
        {"zlib of nothing", [&](const Path& file) { WriteFile(file, zlibOfNothing); }, "is empty"},
        {"plain, over 16 MiB",
         [&](const Path& file) { shell("head -c 16777217 /dev/zero >'" + file.string() + "'"); },
         "is too large"},
        {"gzip, inflating past 16 MiB",
         [&](const Path& file) {
             shell("head -c 16777217 /dev/zero | gzip >'" + file.string() + "'");
         },
         "is too large"},
        {"missing", [](const Path&) {}, open},
        {"a directory", [](const Path& file) { boost::filesystem::create_directories(file); },
         open},
        {"a FIFO", [&](const Path& file) { shell("mkfifo '" + file.string() + "'"); }, open},
        // A pseudo-file reports size 0 whatever it holds.
        {"a link to a procfs file",
         [](const Path& file) { boost::filesystem::create_symlink("/proc/self/status", file); },
         crypto::lum::kContainerName},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Path directory = dir_ / c.name;
        boost::filesystem::create_directories(directory);
        const Path container = directory / crypto::lum::kContainerName;
        c.make(container);
        const std::string expected =
            c.message == open || c.message == crypto::lum::kContainerName
                ? c.message
                : "Revocation container " + container.string() + " " + c.message;
        EXPECT_TRUE(Failed(Check(Manifest(), {"--crl", directory.string()}), expected));
    }
}

// A CRL out of force could be an old copy put back to revive a revoked signer.
TEST_F(SignatureTest, CrlsOutOfForceAreRefusedNamingTheirRoot)
{
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    const pki::Hierarchy demo = pki::Hierarchy::Load(DemoPki("regular"));
    const std::string root = "Revocation database of root \"CN=Integrity Demo Regular "
                             "Root,O=Integrity Demo\" (serial 15EDF31640655339233D3B26FD7D3C76) ";
    const struct {
        const char* name;
        int thisUpdate;
        std::optional<int> nextUpdate;
        const char* message;
    } cases[] = {
        {"out of date", -40, -10, "is out of date: its next update was due "},
        {"not yet valid", 2, 30, "is not yet valid: it is dated "},
        {"without next update", -1, std::nullopt, "has no next update date"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const pki::CrlOptions options{c.thisUpdate, c.nextUpdate};
        const std::string crl = CrlDirectory(
            c.name, {{demo.HierarchyId(), pki::MakeCrl(demo.root, demo.rootKey, {}, options)}});
        EXPECT_TRUE(Failed(Check(Manifest(), {"--crl", crl}), root + c.message));
    }
}

// The release engineer's tools, run at other dates: a container put back
// from before a revocation, or kept past its CRL's next update.
TEST_F(SignatureTest, RolledBackOrStaleContainersDoNotReviveARevokedSigner)
{
    if (!HasFaketime()) {
        GTEST_SKIP() << "faketime is not installed";
    }
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest())));
    const std::string leaf = pki::Hierarchy::Load(DemoPki("regular")).leaf.SerialHex();
    const std::string current = MakeDemoCrlDirectory(dir_ / "current", {{"root", {leaf}}});
    const std::string old = MakeDemoCrlDirectory(dir_ / "old", {{"root", {}}}, -60);
    const std::string oldCrl = (dir_ / "old-root.crl").string();
    const std::string stale = "is out of date: its next update was due ";
    EXPECT_THAT(Flags(Check(Manifest(), {"--crl", current}), Manifest()),
                ::testing::HasSubstr("|Revoked|"));
    EXPECT_TRUE(Failed(Check(Manifest(), {"--crl", old}), stale));
    EXPECT_TRUE(Failed(
        RunProgram(Program::Checker, {"--crl", current, Manifest().string()}, {}, At(31)), stale));
    // Nor does the signing tool pack the old CRL today.
    const Path refused = dir_ / "refused.rdb";
    EXPECT_TRUE(
        Failed(RunProgram(Program::Sign, {"--make-container", "--root", DemoPki("regular/root.pem"),
                                          "--output", refused.string(), oldCrl}),
               "CRL " + oldCrl + " is out of date: its next update was due "));
    EXPECT_FALSE(boost::filesystem::exists(refused));
}

TEST_F(SignatureTest, FileNameBindingFollowsTheSignatureType)
{
    const std::vector<std::string> bound{"--signature-type", "lum-with-filename"};
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest(), {"--type", "lum-with-filename"})));
    EXPECT_TRUE(Succeeded(Check(Manifest(), bound)));
    const Path renamed = dir_ / "product/renamed.xml";
    boost::filesystem::copy_file(Manifest(), renamed);
    EXPECT_TRUE(
        Failed(Check(renamed, bound), "Can't verify LUM signature of file " + renamed.string()));
    EXPECT_TRUE(Succeeded(Check(renamed, {"--signature-type", "lum"})));
    // The name binds only under its own attribute.
    const pki::Hierarchy demo = pki::Hierarchy::Load(DemoPki("regular"));
    for (const std::string oid : {"", "1.3.6.1.4.1.32473.1800.1.1.2"}) {
        WriteFile(Manifest(),
                  pki::ToText(demo.Sign(
                      pki::ToBlob(content_),
                      {.fileNameAttribute = crypto::lum::FileNameToBmp("integrity_check.xml"),
                       .fileNameOid = oid})));
        EXPECT_EQ(Check(Manifest(), bound).exitStatus, oid.empty() ? 0 : 1) << oid;
    }
    // Names that are not UTF-8 bind nothing: replacing their bad bytes
    // would let one signature cover "a\xff.xml" and "a\xfe.xml" alike.
    const Path bad = dir_ / "product/a\xff.xml";
    WriteFile(bad, content_);
    EXPECT_TRUE(Failed(Sign("regular", bad, {"--type", "lum-with-filename"}),
                       "Can't sign a\xff.xml with lum-with-filename: its name is not valid UTF-8"));
    boost::filesystem::copy_file(Manifest(), bad,
                                 boost::filesystem::copy_options::overwrite_existing);
    EXPECT_TRUE(Failed(Check(bad, bound), "Can't verify LUM signature of file " + bad.string() +
                                              ": its name is not valid UTF-8"));
    // A plain "lum" signature carries no name, so the binding refuses it.
    ASSERT_TRUE(Succeeded(Sign("regular", Manifest(), {"--type", "lum", "--replace"})));
    EXPECT_TRUE(Failed(Check(Manifest(), bound)));
}

TEST_F(SignatureTest, StockOpenSslSignatureWithAppendedTrailerVerifies)
{
    const Path der = dir_ / "signature.der";
    ASSERT_TRUE(Succeeded(RunHostProcess(
        {"openssl", "cms", "-sign", "-binary", "-in", Manifest().string(), "-signer",
         DemoPki("regular/leaf.pem"), "-inkey", DemoPki("regular/leaf.key"), "-certfile",
         DemoPki("regular/inter.pem"), "-md", "sha256", "-outform", "DER", "-out", der.string()})));
    const std::string signature = ReadFile(der);
    const auto trailer = crypto::lum::MakeTrailer(static_cast<std::uint32_t>(signature.size()));
    WriteFile(Manifest(), content_ + signature + std::string(trailer.begin(), trailer.end()));
    EXPECT_TRUE(Succeeded(Check(Manifest()), kSummaryOk));
}

}  // namespace
}  // namespace integrity_check_tool::test
