#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "signature/gost_curve.h"
#include "types.h"

namespace integrity_check_tool::vorn {

/// Key algorithms of GOST R 34.10-2012 (RFC 9215 section 3).
inline constexpr const char* kGostKey256Oid = "1.2.643.7.1.1.1.1";
inline constexpr const char* kGostKey512Oid = "1.2.643.7.1.1.1.2";
/// GOST R 34.11-2012 digests named in key parameters.
inline constexpr const char* kStreebog256Oid = "1.2.643.7.1.1.2.2";
inline constexpr const char* kStreebog512Oid = "1.2.643.7.1.1.2.3";

/// A key's algorithm identifier: its parameter set and the OID naming it
/// (which may be an older alias of the set).
struct GostAlgorithm {
    const GostCurve* curve = nullptr;
    std::string parameterSetOid;
};

/// The elements of one DER SEQUENCE, read with OpenSSL's generic ASN.1
/// decoder (no algorithm-specific code involved).
class Asn1Sequence final {
public:
    /// The SEQUENCE at the front of `der`, `consumed` set to its size;
    /// nullopt when the bytes are not one.
    static std::optional<Asn1Sequence> Parse(std::span<const std::uint8_t> der,
                                             std::size_t& consumed);
    Asn1Sequence(Asn1Sequence&& other) noexcept;
    Asn1Sequence& operator=(Asn1Sequence&&) = delete;
    ~Asn1Sequence();

    int Size() const noexcept;
    /// The element's ASN.1 type (V_ASN1_...), -1 past the end.
    int Type(int index) const noexcept;
    /// Content of an OBJECT element as dotted text; empty when not an OID.
    std::string Oid(int index) const;
    /// Content of a string-like element (OCTET STRING, BIT STRING, INTEGER,
    /// or the whole DER of a constructed SEQUENCE); empty span otherwise.
    std::span<const std::uint8_t> Bytes(int index) const noexcept;
    /// The unused-bit count of a BIT STRING element.
    int UnusedBits(int index) const noexcept;

private:
    explicit Asn1Sequence(void* stack) noexcept : stack_(stack) {}
    void* stack_;  // STACK_OF(ASN1_TYPE)
};

/// Parses the DER of an AlgorithmIdentifier of a GOST R 34.10-2012 key;
/// nullopt for another algorithm, malformed parameters or an unknown set.
std::optional<GostAlgorithm> ParseGostAlgorithm(std::span<const std::uint8_t> der);

/// The DER AlgorithmIdentifier for keys on `curve` named by `parameterSetOid`
/// (naming the digest too where GOST tools do).
Blob EncodeGostAlgorithm(const GostCurve& curve, std::string_view parameterSetOid);

/// One DER element: `tag`, definite length, `content`.
Blob DerElement(std::uint8_t tag, std::span<const std::uint8_t> content);

/// A DER OBJECT IDENTIFIER from dotted text; throws vorn::Exception when
/// the text is no OID.
Blob DerOid(std::string_view dotted);

/// PEM text of `der` under `label`, and back: the DER of the first block
/// labelled `label` in `pem`, nullopt when there is none.
std::string ToPem(std::string_view label, std::span<const std::uint8_t> der);
std::optional<Blob> FromPem(std::string_view label, std::string_view pem);

}  // namespace integrity_check_tool::vorn
