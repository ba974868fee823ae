#include "support/manifest_builder.h"
#include "support/temp_dir.h"
#include "vorn/gost2012.h"
#include "vorn/gost2012_signature_verifier.h"
#include "vorn/gost_key_set.h"
#include "vorn/signer.h"
#include "vorn/vorn2_record.h"
#include "vorn/vorn_exception.h"

#include <gtest/gtest.h>
#include <string>

namespace integrity_check_tool::vorn {
namespace {

using test::ReadFile;
using test::TempDir;
using test::WriteFile;

Blob Bytes(std::string_view text)
{
    return Blob(text.begin(), text.end());
}

std::string_view Text(const Blob& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

GostKeyBlobs BlobsOf(std::initializer_list<const GostPrivateKey*> keys)
{
    std::vector<std::string> pems;
    pems.reserve(keys.size()); // the spans below point into these strings
    std::vector<std::span<const std::uint8_t>> files;
    for (const GostPrivateKey* key : keys) {
        const std::string& pem = pems.emplace_back(GostPublicKeyToPem(key->PublicKey()));
        files.emplace_back(reinterpret_cast<const std::uint8_t*>(pem.data()), pem.size());
    }
    return MakeGostKeyBlobs(files);
}

class Vorn2Test : public ::testing::Test {
protected:
    // Key generation costs little, but one pair per binary keeps the suite fast.
    static const GostPrivateKey& Key256()
    {
        static const GostPrivateKey key = GenerateGostKey(256, "A");
        return key;
    }
    static const GostPrivateKey& Key512()
    {
        static const GostPrivateKey key = GenerateGostKey(512, "C");
        return key;
    }

    Path Sign(const std::string& content, const GostPrivateKey& key)
    {
        Blob file = Bytes(content);
        const Blob record = SignVorn2Record(file, key);
        file.insert(file.end(), record.begin(), record.end());
        WriteFile(path_, Text(file));
        return path_;
    }

    struct Outcome {
        std::string description;
        Result code;
    };

    // How verifying `file` with the two test keys fails; the content must
    // stay untouched.
    std::optional<Outcome> Failure(const Blob& file)
    {
        WriteFile(path_, Text(file));
        static const Gost2012SignatureVerifier verifier(nullptr, BlobsOf({&Key256(), &Key512()}));
        Blob content = Bytes("untouched");
        try {
            verifier.Verify(path_, content);
        } catch (const vorn::Exception& error) {
            EXPECT_EQ(content, Bytes("untouched"));
            return Outcome{error.GetDescription(), error.GetCode()};
        }
        return std::nullopt;
    }

    TempDir dir_;
    Path path_ = dir_ / "manifest.xml";
};

TEST_F(Vorn2Test, SignedFilesOfBothSizesVerifyAndHandBackTheContent)
{
    const GostKeyBlobs blobs = BlobsOf({&Key256(), &Key512()});
    for (const GostPrivateKey* key : {&Key256(), &Key512()}) {
        for (const std::string content : {"<manifest>\n  <file path=\"a\"/>\n</manifest>\n", ""}) {
            const Path file = Sign(content, *key);
            EXPECT_EQ(ReadFile(file).size(),
                      content.size() + 1 + 8 + 2 * key->Curve().Width() + 4 + 8);

            const auto tracer =
                zel::intrusive_ptr<test::RecordingTracer>(new test::RecordingTracer(1000));
            Blob verified;
            Gost2012(tracer).VerifySignature(file, blobs.keys256, blobs.keys512, true, verified);
            EXPECT_EQ(Text(verified), content);
            const std::vector<std::string> expected = {
                "Creating Gost2012 instance ...", "Gost2012 instance created",
                "Verifying Gost2012 signature of file " + file.string() + " ...",
                "Gost2012 signature of file " + file.string() + " is OK"};
            EXPECT_EQ(tracer->records, expected);

            Blob throughVerifier;
            Gost2012SignatureVerifier(nullptr, blobs).Verify(file, throughVerifier);
            EXPECT_EQ(throughVerifier, verified);
        }
    }
}

// Every single changed byte fails, with the code of the part it hit.
TEST_F(Vorn2Test, AnyChangedByteFails)
{
    const std::string content = "content of the manifest";
    const Blob signedFile = Bytes(ReadFile(Sign(content, Key256())));
    for (std::size_t i = 0; i < signedFile.size(); ++i) {
        Blob changed = signedFile;
        changed[i] ^= 0x01;
        const auto error = Failure(changed);
        ASSERT_TRUE(error.has_value()) << "byte " << i;
        const std::size_t offset = i - content.size();
        if (i < content.size() || (offset >= 9 && offset < 73)) {
            EXPECT_EQ(error->description, "Invalid signature: Object signed by "
                                          "\"sign-in-object\" has invalid signature");
        } else if (offset == 0) { // version 1 became 0
            EXPECT_EQ(error->description, "Unknown Gost version: Unknown Gost version");
        } else if (offset < 9) { // the key id names no key of the set
            EXPECT_EQ(error->description,
                      "Can't prepare registry set: Key for operation couldn't be found");
        } else if (offset < 77) {
            // The length now points past the file, or at a content byte
            // that is no version.
            EXPECT_TRUE(error->code == kIncompleteSignature || error->code == kUnknownGostVersion)
                << "byte " << i;
        } else {
            EXPECT_EQ(error->description, "Can't add object hash to VORN parameters list: The "
                                          "signature of object signed by \"sign-in-object\" "
                                          "wasn't found");
        }
    }
}

TEST_F(Vorn2Test, RecordCodesAndMessages)
{
    Blob file = Bytes(ReadFile(Sign("abc", Key512())));
    // A key of the set of the other size does not count.
    Blob wrongVersion = file;
    wrongVersion[3] = kVorn2Version256;
    EXPECT_EQ(Failure(wrongVersion)->description,
              "Can't add object hash to VORN parameters list: Signature buffer contains incomplete "
              "signature");
    Blob unknown = file;
    unknown[3] = 3;
    EXPECT_EQ(Failure(unknown)->code, kUnknownGostVersion);

    // Cut anywhere and the trailer is gone; cut and trailer put back, the
    // record is incomplete or its length points elsewhere.
    for (std::size_t size = 0; size < file.size(); ++size) {
        Blob cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_TRUE(Failure(cut).has_value());
        if (size + 8 < file.size()) {
            Blob withTrailer = cut;
            withTrailer.insert(withTrailer.end(), kVorn2Trailer.begin(), kVorn2Trailer.end());
            const auto failure = Failure(withTrailer);
            ASSERT_TRUE(failure.has_value()) << size;
        }
    }
    EXPECT_EQ(Failure(Blob(kVorn2Trailer.begin(), kVorn2Trailer.end()))->description,
              "Can't add object hash to VORN parameters list: Signature buffer contains incomplete "
              "signature");
    EXPECT_EQ(Failure({})->description,
              "Can't add object hash to VORN parameters list: The signature of object signed by "
              "\"sign-in-object\" wasn't found");
    // A length larger than the file.
    Blob huge = file;
    huge[huge.size() - 12] = 0xFF;
    EXPECT_EQ(Failure(huge)->code, kIncompleteSignature);
}

TEST_F(Vorn2Test, MissingFileAndDetachedFormAreRefused)
{
    const Gost2012 gost;
    const GostKeyBlobs blobs = BlobsOf({&Key256()});
    Blob content;
    try {
        gost.VerifySignature(dir_ / "absent.xml", blobs.keys256, blobs.keys512, true, content);
        FAIL();
    } catch (const vorn::Exception& error) {
        EXPECT_EQ(error.GetDescription(), "Can't add object hash to VORN parameters list: The file "
                                          "for operation couldn't be opened");
    }
    EXPECT_THROW(
        gost.VerifySignature(Sign("abc", Key256()), blobs.keys256, blobs.keys512, false, content),
        vorn::Exception);
}

TEST_F(Vorn2Test, KeyBlobsMustHoldWellFormedKeysOfTheirSize)
{
    const GostKeyBlobs blobs = BlobsOf({&Key256(), &Key512()});
    Blob truncated = blobs.keys256;
    truncated.pop_back();
    Blob trailing = blobs.keys256;
    trailing.push_back(0x30);
    Blob offCurve = blobs.keys256;
    offCurve.back() ^= 0x01;
    const std::pair<Blob, Blob> refused[] = {
        {blobs.keys512, {}}, {{}, blobs.keys256}, {truncated, {}}, {trailing, {}}, {offCurve, {}}};
    for (const auto& [keys256, keys512] : refused) {
        try {
            GostKeySet keys(keys256, keys512);
            ADD_FAILURE() << "accepted " << keys256.size() << " + " << keys512.size() << " bytes";
        } catch (const vorn::Exception& error) {
            EXPECT_EQ(error.GetDescription(),
                      "Can't register keys in VORN parameters list: Some parameters of function "
                      "call are invalid. In most cases - pointers to buffer and sizes are 0");
        }
    }
    Blob twice = blobs.keys256;
    twice.insert(twice.end(), blobs.keys256.begin(), blobs.keys256.end());
    EXPECT_EQ(GostKeySet(twice, blobs.keys512).Size(), 3u);
    EXPECT_EQ(GostKeySet({}, {}).Size(), 0u);
}

} // namespace
} // namespace integrity_check_tool::vorn
