#pragma once

#include <cstdint>
#include <vector>

#include <zel/ref_counted.h>
#include <zel/result.h>
#include <zel/tracer.h>

#include "lum/revocation.h"
#include "lum/service.h"
#include "lum/service/options.h"

/// Framework-service level of the signature library: roots looked up by
/// class, a test-root policy, and revocation data from a CRL provider.
namespace crypto::lum::service {

/// Gives the root certificates (DER) accepted for a class of signed objects.
class ILumRootProvider : public zel::RefCounted {
public:
    /// The class's trusted roots; a failure code when they are unavailable.
    virtual zel::Result GetTrustedRoots(std::uint32_t classId, std::vector<Bytes>& roots) = 0;
    /// The class's test roots and how to treat them.
    virtual zel::Result GetTestRoots(std::uint32_t classId, std::vector<Bytes>& roots,
                                     TestRootHandlingPolicyFlags& policy) = 0;
};
using ILumRootProviderPtr = zel::intrusive_ptr<ILumRootProvider>;

/// Gives the revocation-database container (see format.h), empty when none.
class ILumCrlProvider : public zel::RefCounted {
public:
    /// Fills `container`; a failure code when it cannot be read.
    virtual zel::Result GetCrlContainer(Bytes& container) = 0;
};
using ILumCrlProviderPtr = zel::intrusive_ptr<ILumCrlProvider>;

/// Makes revocation checkers for a split of roots.
class ILumRevocationCheckerFactory : public zel::RefCounted {
public:
    /// A checker over `required` and `optional` roots; zel::kFail after tracing why.
    virtual zel::Result CreateRevocationChecker(const std::vector<Bytes>& required,
                                                const std::vector<Bytes>& optional,
                                                ILumRevocationCheckerPtr& checker) = 0;
};
using ILumRevocationCheckerFactoryPtr = zel::intrusive_ptr<ILumRevocationCheckerFactory>;

/// Creates verifiers by class.
class ILumService : public zel::RefCounted {
public:
    /// A verifier for `classId`; `creationOptions` is a CreateVerifierOptions value.
    /// zel::kInvalidArgument for unknown options, zel::kFail after tracing why.
    virtual zel::Result CreateVerifier(std::uint32_t classId, std::uint32_t creationOptions,
                                       ILumSignatureVerifierPtr& verifier) = 0;
};
using ILumServicePtr = zel::intrusive_ptr<ILumService>;

/// Roots split by revocation requirement.
struct RootSets {
    std::vector<Bytes> required;
    std::vector<Bytes> optional;
};

/// Trusted roots are required; test roots too under kCrlMustExist, else optional.
RootSets SplitRoots(std::vector<Bytes> trusted, std::vector<Bytes> test,
                    TestRootHandlingPolicyFlags policy);

/// The service over a root provider and a revocation checker factory.
class LumServiceImpl final : public ILumService, private zel::TracerProvider {
public:
    LumServiceImpl(zel::ITracerPtr tracer, ILumRootProviderPtr roots,
                   ILumRevocationCheckerFactoryPtr revocation);
    ~LumServiceImpl() override;

    zel::Result CreateVerifier(std::uint32_t classId, std::uint32_t creationOptions,
                               ILumSignatureVerifierPtr& verifier) override;

private:
    zel::Result GetRequiredAndOptionalRoots(std::uint32_t classId, RootSets& roots) const;
    zel::Result Return(int line, const std::string& message, zel::Result result) const;

    ILumRootProviderPtr roots_;
    ILumRevocationCheckerFactoryPtr revocation_;
};

/// Loads databases from a CRL provider and traces what it loaded.
class LumRevocationCheckerFactoryImpl final : public ILumRevocationCheckerFactory,
                                              private zel::TracerProvider {
public:
    LumRevocationCheckerFactoryImpl(zel::ITracerPtr tracer, ILumCrlProviderPtr crlProvider);

    /// Needs LumInitializeLibrary to have succeeded.
    zel::Result CreateRevocationChecker(const std::vector<Bytes>& required,
                                        const std::vector<Bytes>& optional,
                                        ILumRevocationCheckerPtr& checker) override;

private:
    void ReportDatabaseFailure(const char* message, ByteSpan hierarchy, std::int32_t result) const;
    void TraceLoaded(const ILumRevocationChecker& checker) const;

    ILumCrlProviderPtr crlProvider_;
};

}  // namespace crypto::lum::service
