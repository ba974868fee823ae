#include <string>

#include <gtest/gtest.h>

#include "sign/gost_signer.h"
#include "signature/gost_key_set.h"
#include "signature/vorn2_record.h"
#include "signature/vorn2_verifier.h"
#include "support/temp_dir.h"
#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {
namespace {

// One key of each size per binary keeps the suite fast.
const GostPrivateKey& Key(unsigned bits)
{
    static const GostPrivateKey key256 = GenerateGostKey(256, "A");
    static const GostPrivateKey key512 = GenerateGostKey(512, "C");
    return bits == 256 ? key256 : key512;
}

GostKeyBlobs BothKeys()
{
    return {Key(256).PublicKey().ToDer(), Key(512).PublicKey().ToDer()};
}

Blob Signed(std::string_view content, const GostPrivateKey& key)
{
    Blob file(content.begin(), content.end());
    const Blob record = SignVorn2Record(file, key);
    file.insert(file.end(), record.begin(), record.end());
    return file;
}

class Vorn2Test : public ::testing::Test {
protected:
    /// Writes `file` and verifies it with both keys: kSuccess with the
    /// content in `content_`, or the code with the step in `step_`.
    Result Verify(const Blob& file)
    {
        test::WriteFile(path_,
                        std::string_view(reinterpret_cast<const char*>(file.data()), file.size()));
        static const Gost2012SignatureVerifier verifier(nullptr, BothKeys());
        content_ = {'x'};
        step_.clear();
        try {
            verifier.Verify(path_, content_);
            return kSuccess;
        } catch (const Exception& error) {
            EXPECT_EQ(content_, Blob{'x'}) << "a failure leaves the content alone";
            step_ = error.GetStep();
            return error.GetCode();
        }
    }

    test::TempDir dir_;
    Path path_ = dir_ / "manifest.xml";
    Blob content_;
    std::string step_;
};

// Every single changed byte fails, with the code of the part it hit.
TEST_F(Vorn2Test, AnyChangedByteFails)
{
    const std::string_view content = "content of the manifest";
    const Blob signedFile = Signed(content, Key(256));
    for (std::size_t i = 0; i < signedFile.size(); ++i) {
        SCOPED_TRACE("byte " + std::to_string(i));
        Blob changed = signedFile;
        changed[i] ^= 0x01;
        const Result code = Verify(changed);
        const std::size_t offset = i - content.size();
        if (i < content.size() || (offset >= 9 && offset < 73)) {
            EXPECT_EQ(step_, "Invalid signature");
        } else if (offset == 0) {  // version 1 became 0
            EXPECT_EQ(code, kUnknownGostVersion);
        } else if (offset < 9) {  // the key id names no key of the set
            EXPECT_EQ(code, kKeyNotFound);
        } else if (offset < 77) {
            // The length now points past the file, or at a content byte
            // that is no version.
            EXPECT_TRUE(code == kIncompleteSignature || code == kUnknownGostVersion);
        } else {
            EXPECT_EQ(code, kSignatureNotFound);
        }
    }
}

TEST_F(Vorn2Test, MalformedRecordsAreRefused)
{
    const Blob file = Signed("abc", Key(512));
    // The version byte starts the 141-byte record of a 512-bit key.
    Blob otherSize = file;
    otherSize[file.size() - 141 - 8] = kVorn2Version256;
    const struct {
        const char* name;
        Blob file;
        Result code;
    } cases[] = {
        {"empty", {}, kSignatureNotFound},
        {"trailer only", Blob(kVorn2Trailer.begin(), kVorn2Trailer.end()), kIncompleteSignature},
        {"512-bit record marked 256-bit", otherSize, kIncompleteSignature},
    };
    for (const auto& refused : cases) {
        SCOPED_TRACE(refused.name);
        EXPECT_EQ(Verify(refused.file), refused.code);
    }
    // Cut anywhere and the trailer is gone; cut and trailer put back, the
    // record is incomplete or its length points elsewhere.
    for (std::size_t size = 0; size < file.size(); ++size) {
        SCOPED_TRACE("cut at " + std::to_string(size));
        Blob cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_NE(Verify(cut), kSuccess);
        if (size + 8 < file.size()) {
            cut.insert(cut.end(), kVorn2Trailer.begin(), kVorn2Trailer.end());
            EXPECT_NE(Verify(cut), kSuccess);
        }
    }
}

TEST(GostKeySetTest, BlobsMustHoldWellFormedKeysOfTheirSize)
{
    const GostKeyBlobs blobs = BothKeys();
    ASSERT_FALSE(blobs.keys256.empty());
    const Blob truncated(blobs.keys256.begin(), blobs.keys256.end() - 1);
    Blob trailing = blobs.keys256;
    trailing.push_back(0x30);
    Blob offCurve = blobs.keys256;
    offCurve.back() ^= 0x01;
    const std::pair<Blob, Blob> refused[] = {
        {blobs.keys512, {}}, {{}, blobs.keys256}, {truncated, {}}, {trailing, {}}, {offCurve, {}}};
    for (const auto& [keys256, keys512] : refused) {
        EXPECT_THROW(GostKeySet keys(keys256, keys512), Exception)
            << keys256.size() << " + " << keys512.size() << " bytes";
    }
}

}  // namespace
}  // namespace integrity_check_tool::vorn
