#include "signature/lum_verifier.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <lum/flags.h>
#include <lum/format.h>
#include <lum/result.h>
#include <lum/revocation.h>
#include <lum/service.h>
#include <updater/storage.h>
#include <zel/available_memory.h>
#include <zel/exception.h>
#include <zel/file_io.h>

#include "exception.h"
#include "signature/lum_roots.h"
#include "tracer.h"
#include "utils/utils.h"

namespace integrity_check_tool {

namespace {

/// The name the signature binds: what follows the path's last "/".
std::string FileName(const Path& file)
{
    const std::string& path = file.string();
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// The flag names of "Signed|Trusted"; none for 0.
std::vector<std::string> FlagNames(std::uint32_t flags)
{
    std::vector<std::string> names;
    if (flags == 0) {
        return names;
    }
    const std::string text = crypto::lum::VerificationFlagsToString(flags);
    std::size_t start = 0;
    for (std::size_t bar = text.find('|'); bar != std::string::npos; bar = text.find('|', start)) {
        names.push_back(text.substr(start, bar - start));
        start = bar + 1;
    }
    names.push_back(text.substr(start));
    return names;
}

/// The flags, signer and token time `result` holds.
void Describe(const crypto::lum::ILumSignatureVerificationResult& result, SignatureDetails& details)
{
    std::uint32_t flags = 0;
    if (result.GetFlags(&flags) == crypto::lum::lumOk) {
        details.flags = FlagNames(flags);
    }
    crypto::lum::LumSignerDetails signer;
    if (result.GetSigner(&signer) == crypto::lum::lumOk) {
        details.signer = SignatureDetails::Signer{signer.subject, signer.serial, signer.notAfter};
    }
    std::int64_t time = 0;
    if (result.GetTimestampTime(&time) == crypto::lum::lumOk) {
        details.timestamp = time;
    }
}

}  // namespace

LumSignatureVerifier::LumSignatureVerifier(zel::ITracerPtr tracer, bool regularRoots,
                                           const std::optional<Path>& crlStoragePath,
                                           bool withFileName)
    : zel::TracerProvider(std::move(tracer)), roots_(lum::TrustedRoots(regularRoots)),
      tsaRoots_(lum::TsaRoots()), withFileName_(withFileName)
{
    if (crlStoragePath) {
        crl_ = ReadCrl(*crlStoragePath);
        RefuseOutdatedCrl();
    }
}

LumSignatureVerifier::LumSignatureVerifier(zel::ITracerPtr tracer, std::vector<Blob> roots,
                                           bool withFileName)
    : zel::TracerProvider(std::move(tracer)), roots_(std::move(roots)), tsaRoots_(lum::TsaRoots()),
      withFileName_(withFileName)
{
}

Blob LumSignatureVerifier::ReadCrl(const Path& directory) const
{
    const std::string name = crypto::lum::kContainerName;
    const std::string path = (directory / name).string();
    Trace(kTraceDebug, "Reading CRL from storage %1% ...", directory.string());
    boost::system::error_code error;
    if (!boost::filesystem::is_directory(directory, error)) {
        ICT_THROW("CRL storage path %1% is not a directory", directory.string());
    }
    Trace(kTraceDebug, "Opening %1% container ...", name);
    updater::IStoragePtr storage;
    zel::IIOPtr container;
    zel::Result opened = updater::OpenStorage(directory.string(), storage);
    if (zel::Succeeded(opened)) {
        opened = storage->OpenContainer(name, container);
    }
    if (opened == zel::kTooLarge) {
        ICT_THROW("Revocation container %1% is too large: a container holds at most %2% bytes",
                  path, updater::kMaxContainerSize);
    }
    if (zel::Failed(opened)) {
        ICT_THROW("Failed to open container %1% in storage", name);
    }
    Trace(kTraceDebug, "Container %1% opened successfully", name);
    std::uint64_t size = 0;
    if (zel::Failed(container->GetSize(&size))) {
        ICT_THROW("Can't get size of container %1%", name);
    }
    // The operator asked for revocation checks: no revocation data at all
    // must not pass for "nothing revoked".
    if (size == 0) {
        ICT_THROW("Revocation container %1% is empty", path);
    }
    if (size > updater::kMaxContainerSize) {
        ICT_THROW("Revocation container %1% is too large: a container holds at most %2% bytes",
                  path, updater::kMaxContainerSize);
    }
    Blob crl(static_cast<std::size_t>(size));
    std::size_t total = 0;
    while (total < crl.size()) {
        std::size_t got = 0;
        if (zel::Failed(container->Read(crl.data() + total, crl.size() - total, &got)) ||
            got == 0) {
            ICT_THROW("Can't read CRL from storage");
        }
        total += got;
    }
    // A file holding more than its size said (a pseudo-file, or one growing
    // meanwhile) was not read whole.
    std::uint8_t more = 0;
    std::size_t extra = 0;
    if (zel::Failed(container->Read(&more, 1, &extra)) || extra != 0) {
        ICT_THROW("Revocation container %1% can't be read whole: it changed while being read",
                  path);
    }
    Trace(kTraceDebug, "CRL has been read successfully from storage %1%", directory.string());
    return crl;
}

void LumSignatureVerifier::RefuseOutdatedCrl() const
{
    const std::vector<crypto::lum::ByteSpan> roots(roots_.begin(), roots_.end());
    const std::vector<crypto::lum::ByteSpan> tsaRoots(tsaRoots_.begin(), tsaRoots_.end());
    std::string reason;
    // Other failures keep surfacing per manifest, where they always have.
    if (crypto::lum::LumCheckRevocationContainer(roots, tsaRoots, crl_, reason) ==
        crypto::lum::lumErrInvalidValue) {
        ICT_THROW("%1%", reason);
    }
}

void LumSignatureVerifier::Verify(const Path& file, Blob& content) const
{
    SignatureDetails details;
    VerifyWithDetails(file, content, details);
}

void LumSignatureVerifier::VerifyWithDetails(const Path& file, Blob& content,
                                             SignatureDetails& details) const
{
    details = SignatureDetails{};
    details.type = withFileName_ ? "lum-with-filename" : "lum";
    Trace(kTraceDebug, "Verifying LUM signature of file %1% ...", file.string());
    zel::IIOPtr io;
    if (zel::Failed(zel::FileIO::Open(file.string(), zel::OpenMode::Read, io))) {
        ICT_THROW("Can't create IO from file %1%", file.string());
    }
    // The file is held whole, and its signature decoded on top of it.
    std::uint64_t size = 0;
    if (zel::Succeeded(io->GetSize(&size)) &&
        !zel::FitsInMemory(size + std::min<std::uint64_t>(size, crypto::lum::kMaxSignatureSize) *
                                      crypto::lum::kMemoryPerSignatureByte)) {
        ZEL_CHECK(zel::kOutOfMemory);
    }
    // The bytes verified are the bytes handed on: the file is read once, so
    // swapping it after the check cannot smuggle in other content.
    content = VerifyBytes(file, ReadWholeStream(*io), details);
}

Blob LumSignatureVerifier::VerifyBytes(const Path& file, Blob data, SignatureDetails& details) const
{
    std::optional<Blob> name;
    if (withFileName_ && !(name = crypto::lum::FileNameToBmp(FileName(file)))) {
        ICT_THROW("Can't verify LUM signature of file %1%: its name is not valid UTF-8",
                  file.string());
    }
    crypto::lum::ILumSignatureVerifierPtr verifier;
    if (zel::Failed(
            crypto::lum::LumCreateVerifier(GetTracer(), roots_, tsaRoots_, crl_, verifier)) ||
        !verifier) {
        ICT_THROW("Can't create LUM verifier");
    }
    crypto::lum::ILumSignatureVerificationResultPtr result;
    const std::int32_t status = withFileName_
                                    ? verifier->VerifyObjectWithAdditionalContent(
                                          data, crypto::lum::FileNameAttributeOid(), *name, result)
                                    : verifier->VerifyObject(data, result);
    if (result) {
        Describe(*result, details);
    }
    if (status != crypto::lum::lumOk) {
        Trace(kTraceError, "LUM signature of file %1% is not OK", file.string());
        std::uint32_t flags = 0;
        if (!result || result->GetFlags(&flags) != crypto::lum::lumOk) {
            ICT_THROW("Can't get LUM verification flags");
        }
        ICT_THROW("Can't verify LUM signature of file %1%. Flags: %2%", file.string(),
                  crypto::lum::VerificationFlagsToString(flags));
    }
    Trace(kTraceDebug, "LUM signature of file %1% is OK", file.string());
    Trace(kTraceDebug, "Finding signature position ...");
    std::uint64_t position = 0;
    if (!result || result->GetCheckedContentSize(&position) != crypto::lum::lumOk ||
        position > data.size()) {
        ICT_THROW("Can't get checked content size");
    }
    Trace(kTraceDebug, "Signature position: %1%", position);
    Trace(kTraceDebug, "Signature size: %1%", data.size() - position);
    data.resize(static_cast<std::size_t>(position));
    return data;
}

}  // namespace integrity_check_tool
