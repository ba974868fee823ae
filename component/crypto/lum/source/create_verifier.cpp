#include <exception>
#include <new>

#include <zel/exception.h>

#include "lum/revocation.h"
#include "lum/service.h"
#include "signature_verifier.h"
#include "x509_util.h"

namespace crypto::lum {

namespace {

class CreationTracer final : private zel::TracerProvider {
public:
    explicit CreationTracer(zel::ITracerPtr tracer) : zel::TracerProvider(std::move(tracer)) {}

    using zel::TracerProvider::Trace;

    /// Passes the revocation checker's reports on to the trace.
    void Report(const char* message, const std::uint8_t* data, std::size_t size,
                std::uint32_t index, std::int32_t result) const
    {
        const std::string hex = Hex(ByteSpan(data, data != nullptr ? size : 0));
        if (index == kNoDatabaseIndex) {
            Trace(kTraceError, "%1% Data=%2%; LumResult=%3%", message, hex, LumResultName(result));
        } else {
            Trace(kTraceError, "%1% Index=%2%, Data=%3%; LumResult=%4%", message, index, hex,
                  LumResultName(result));
        }
    }
};

zel::Result CreateVerifier(const CreationTracer& tracer, const zel::ITracerPtr& tracerPtr,
                           const std::vector<Bytes>& roots, const std::vector<Bytes>& tsaRoots,
                           ByteSpan crlContainer, ILumSignatureVerifierPtr& verifier)
{
    const std::int32_t initialized = LumInitializeLibrary();
    if (initialized != lumOk) {
        tracer.Trace(kTraceError, "LumInitializeLibrary() failed; LumResult=%1%",
                     LumResultName(initialized));
        return zel::kFail;
    }
    // From here on every way out releases the library unless the verifier took it.
    auto library = std::make_unique<LibraryReference>();
    if (crlContainer.empty()) {
        tracer.Trace(kTraceDebug, "CRL is not provided.");
    }
    const std::vector<ByteSpan> rootSpans(roots.begin(), roots.end());
    // TSA roots may have a database; they are not required to.
    const std::vector<ByteSpan> tsaRootSpans(tsaRoots.begin(), tsaRoots.end());
    ILumRevocationCheckerPtr checker;
    const std::int32_t created = LumCreateRevocationChecker(
        rootSpans, tsaRootSpans, 0, crlContainer,
        [&tracer](const char* message, const std::uint8_t* data, std::size_t size,
                  std::uint32_t index,
                  std::int32_t result) { tracer.Report(message, data, size, index, result); },
        checker);
    if (created != lumOk) {
        tracer.Trace(kTraceError, "LumCreateRevocationChecker() failed; LumResult=%1%",
                     LumResultName(created));
        return zel::kFail;
    }
    verifier = zel::MakeIntrusive<LumSignatureVerifierImpl>(tracerPtr, roots, tsaRoots,
                                                            std::move(checker), std::move(library));
    return zel::kOk;
}

}  // namespace

zel::Result LumCreateVerifier(const zel::ITracerPtr& tracer, const std::vector<Bytes>& roots,
                              ByteSpan crlContainer, ILumSignatureVerifierPtr& verifier)
{
    return LumCreateVerifier(tracer, roots, {}, crlContainer, verifier);
}

zel::Result LumCreateVerifier(const zel::ITracerPtr& tracer, const std::vector<Bytes>& roots,
                              const std::vector<Bytes>& tsaRoots, ByteSpan crlContainer,
                              ILumSignatureVerifierPtr& verifier)
{
    if (!tracer) {
        return zel::kInvalidArgument;
    }
    if (roots.empty()) {
        return lumErrInvalidArgument;
    }
    const CreationTracer creationTracer(tracer);
    zel::Result result = zel::kFail;
    std::string text;
    try {
        return CreateVerifier(creationTracer, tracer, roots, tsaRoots, crlContainer, verifier);
    } catch (const zel::Exception& error) {
        result = error.GetResult();
        text = error.what();
    } catch (const std::bad_alloc& error) {
        result = zel::kOutOfMemory;
        text = error.what();
    } catch (const std::exception& error) {
        text = error.what();
    }
    creationTracer.Trace(zel::Failed(result) ? kTraceError : kTraceDebug, "Exception managed! %1%",
                         text);
    return result;
}

}  // namespace crypto::lum
