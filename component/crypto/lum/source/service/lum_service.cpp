#include "lum/service/lum_service.h"

#include <new>

#include "signature_verifier.h"
#include "x509_util.h"

namespace crypto::lum::service {

namespace {

std::vector<Bytes> Join(std::vector<Bytes> first, const std::vector<Bytes>& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace

RootSets SplitRoots(std::vector<Bytes> trusted, std::vector<Bytes> test,
                    TestRootHandlingPolicyFlags policy)
{
    if ((policy & kCrlMustExist) != 0) {
        return {Join(std::move(trusted), test), {}};
    }
    return {std::move(trusted), std::move(test)};
}

LumServiceImpl::LumServiceImpl(zel::ITracerPtr tracer, ILumRootProviderPtr roots,
                               ILumRevocationCheckerFactoryPtr revocation)
    : zel::TracerProvider(std::move(tracer)), roots_(std::move(roots)),
      revocation_(std::move(revocation))
{
    Trace(kTraceDebug, "Created service=%1%", static_cast<const void*>(this));
}

LumServiceImpl::~LumServiceImpl()
{
    try {
        Trace(kTraceDebug, "Destroyed service=%1%", static_cast<const void*>(this));
    } catch (...) {
        // A lost trace line is no reason to terminate.
    }
}

zel::Result LumServiceImpl::Return(int line, const std::string& message, zel::Result result) const
{
    Trace(kTraceError, "%1% (%2%) RETURN %3%", message, line, result);
    return result;
}

zel::Result LumServiceImpl::GetRequiredAndOptionalRoots(std::uint32_t classId,
                                                        RootSets& roots) const
{
    std::vector<Bytes> trusted;
    if (!roots_ || zel::Failed(roots_->GetTrustedRoots(classId, trusted))) {
        return Return(__LINE__, "failed to get trusted roots for class " + std::to_string(classId),
                      zel::kFail);
    }
    if (trusted.empty()) {
        return Return(__LINE__, "no trusted roots for class " + std::to_string(classId),
                      zel::kFail);
    }
    std::vector<Bytes> test;
    TestRootHandlingPolicyFlags policy = 0;
    if (zel::Failed(roots_->GetTestRoots(classId, test, policy))) {
        return Return(__LINE__, "failed to get test roots for class " + std::to_string(classId),
                      zel::kFail);
    }
    Trace(kTraceDebug, "TestRootHandlingPolicyFlags: %1%",
          TestRootHandlingPolicyFlagsToString(policy));
    roots = SplitRoots(std::move(trusted), std::move(test), policy);
    return zel::kOk;
}

zel::Result LumServiceImpl::CreateVerifier(std::uint32_t classId, std::uint32_t creationOptions,
                                           ILumSignatureVerifierPtr& verifier)
{
    const auto options = static_cast<CreateVerifierOptions>(creationOptions);
    Trace(kTraceDebug, "LumServiceImpl::CreateVerifier, classId=%1%, creationOptions=%2%", classId,
          ToString(options));
    if (!IsValid(options)) {
        return Return(__LINE__, "invalid CreateVerifierOptions", zel::kInvalidArgument);
    }
    try {
        RootSets roots;
        const zel::Result found = GetRequiredAndOptionalRoots(classId, roots);
        if (zel::Failed(found)) {
            return found;
        }
        if (options == CreateVerifierOptions::RevocationDatabaseIsOptional) {
            roots = {{}, Join(std::move(roots.required), roots.optional)};
        }
        const std::int32_t initialized = LumInitializeLibrary();
        if (initialized != lumOk) {
            return Return(__LINE__,
                          "LumInitializeLibrary() failed; LumResult=" + LumResultName(initialized),
                          zel::kFail);
        }
        auto library = std::make_unique<LibraryReference>();
        ILumRevocationCheckerPtr checker;
        if (!revocation_ || zel::Failed(revocation_->CreateRevocationChecker(
                                roots.required, roots.optional, checker))) {
            return Return(__LINE__, "failed to get revocation checker", zel::kFail);
        }
        verifier = zel::MakeIntrusive<LumSignatureVerifierImpl>(
            GetTracer(), Join(std::move(roots.required), roots.optional), std::vector<Bytes>{},
            std::move(checker), std::move(library));
        return zel::kOk;
    } catch (const std::bad_alloc&) {
        return Return(__LINE__, "out of memory", zel::kOutOfMemory);
    } catch (const std::exception& error) {
        return Return(__LINE__, error.what(), zel::kFail);
    }
}

LumRevocationCheckerFactoryImpl::LumRevocationCheckerFactoryImpl(zel::ITracerPtr tracer,
                                                                 ILumCrlProviderPtr crlProvider)
    : zel::TracerProvider(std::move(tracer)), crlProvider_(std::move(crlProvider))
{
}

zel::Result
LumRevocationCheckerFactoryImpl::CreateRevocationChecker(const std::vector<Bytes>& required,
                                                         const std::vector<Bytes>& optional,
                                                         ILumRevocationCheckerPtr& checker)
{
    if (!crlProvider_) {
        Trace(kTraceError, "IInternalFactory::GetCrlProvider failed");
        return zel::kFail;
    }
    Bytes container;
    const zel::Result read = crlProvider_->GetCrlContainer(container);
    if (zel::Failed(read)) {
        Trace(kTraceError, "ILumCrlProvider::GetCrlContainer failed: %1%",
              zel::ResultMessage(read));
        Trace(kTraceError, "GetCrlContainer failed");
        return zel::kFail;
    }
    for (const Bytes& root : Join(required, optional)) {
        if (!ParseCertificate(root)) {
            Trace(kTraceError,
                  "AsndParseAndValidateCertificate() failed. Certificate size=%1%, "
                  "CertificateBody=%2%",
                  root.size(), Hex(root));
            return zel::kFail;
        }
    }
    const std::vector<ByteSpan> requiredSpans(required.begin(), required.end());
    const std::vector<ByteSpan> optionalSpans(optional.begin(), optional.end());
    const std::int32_t result = LumCreateRevocationChecker(
        requiredSpans, optionalSpans, 0, container,
        [this](const char* message, const std::uint8_t* data, std::size_t size,
               std::uint32_t /*index*/, std::int32_t code) {
            ReportDatabaseFailure(message, ByteSpan(data, data != nullptr ? size : 0), code);
        },
        checker);
    if (result != lumOk) {
        Trace(kTraceError, "LumCreateRevocationChecker() failed; LumResult=%1%",
              LumResultName(result));
        return zel::kFail;
    }
    TraceLoaded(*checker);
    return zel::kOk;
}

void LumRevocationCheckerFactoryImpl::ReportDatabaseFailure(const char* message, ByteSpan hierarchy,
                                                            std::int32_t result) const
{
    const std::string id = Hex(hierarchy);
    const std::string name = LumResultName(result);
    switch (result) {
    case lumErrRdbAlreadyExists:
        Trace(kTraceError, "More than one revocation database with hierarchy=%1%; LumResult=%2%",
              id, name);
        break;
    case lumErrInvalidSignature:
        Trace(kTraceError,
              "Certificate for revocation database with hierarchy=%1% not matched; LumResult=%2%",
              id, name);
        break;
    case lumErrRdbAbsent:
        Trace(kTraceError,
              "Required revocation database with hierarchy=%1% is absent; LumResult=%2%", id, name);
        break;
    default:
        Trace(kTraceError, "%1% hierarchy=%2%; LumResult=%3%", message, id, name);
        break;
    }
}

void LumRevocationCheckerFactoryImpl::TraceLoaded(const ILumRevocationChecker& checker) const
{
    std::size_t loaded = 0;
    for (std::size_t i = 0; i < checker.GetRootCount(); ++i) {
        if (const RevocationDatabaseInfo* database = checker.GetDatabase(i)) {
            Trace(kTraceDebug, "Validated revocation database with hierarchy=%1%",
                  Hex(database->hierarchyId));
            Trace(kTraceDebug,
                  "Loaded revocation database with hierarchy=%1%, issuedDate=%2%, size=%3%",
                  Hex(database->hierarchyId), database->issued, database->size);
            ++loaded;
        }
    }
    Trace(kTraceDebug, "%1% database(s) loaded", loaded);
    Trace(kTraceDebug, "Created new revocation checker:");
    for (std::size_t i = 0; i < checker.GetRootCount(); ++i) {
        if (const RevocationDatabaseInfo* database = checker.GetDatabase(i)) {
            Trace(kTraceDebug, "  Hierarchy Id (Root Serial)=%1%, Issued=%2%",
                  Hex(database->hierarchyId), database->issued);
        }
    }
    Trace(kTraceDebug, "  Revocation Checker Object=%1%", static_cast<const void*>(&checker));
}

}  // namespace crypto::lum::service
