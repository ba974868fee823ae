#include "signed_data_bounds.h"

#include <cstdint>
#include <optional>

namespace crypto::lum {

namespace {

constexpr std::uint8_t kInteger = 0x02;
constexpr std::uint8_t kOid = 0x06;
constexpr std::uint8_t kSequence = 0x30;
constexpr std::uint8_t kSet = 0x31;
constexpr std::uint8_t kConstructed0 = 0xA0;  // [0], constructed
constexpr std::uint8_t kConstructed1 = 0xA1;  // [1], constructed
/// SignerInfo has seven fields at most.
constexpr std::size_t kMaxSignerInfoFields = 7;

constexpr const char* kMalformed = "its DER is malformed";

struct Element {
    std::uint8_t tag = 0;
    ByteSpan content;
};

/// Takes the element at the front of `input`; nullopt when there is none, its
/// header is not DER (indefinite length, a tag number past 30) or its content
/// passes the end of `input`.
std::optional<Element> Take(ByteSpan& input)
{
    if (input.size() < 2 || (input[0] & 0x1F) == 0x1F) {
        return std::nullopt;
    }
    std::size_t header = 2;
    std::size_t length = input[1];
    if ((length & 0x80) != 0) {
        const std::size_t count = length & 0x7F;
        // Four length bytes cover any signature the trailer can describe.
        if (count == 0 || count > 4 || input.size() < header + count) {
            return std::nullopt;
        }
        length = 0;
        for (std::size_t i = 0; i < count; ++i) {
            length = (length << 8) | input[header + i];
        }
        header += count;
    }
    if (length > input.size() - header) {
        return std::nullopt;
    }
    const Element element{input[0], input.subspan(header, length)};
    input = input.subspan(header + length);
    return element;
}

/// Takes the next element when it has `tag`.
std::optional<Element> Take(ByteSpan& input, std::uint8_t tag)
{
    std::optional<Element> element = Take(input);
    return element && element->tag == tag ? element : std::nullopt;
}

/// Walks the elements that fill `content`, at most `max` of them, stopping at
/// the first one past it: counting costs no more than the bound.
template <class Visit>
const char* EachElement(ByteSpan content, std::size_t max, const char* tooMany, Visit visit)
{
    for (std::size_t count = 0; !content.empty(); ++count) {
        const std::optional<Element> element = Take(content);
        if (!element) {
            return kMalformed;
        }
        if (count == max) {
            return tooMany;
        }
        if (const char* excess = visit(*element)) {
            return excess;
        }
    }
    return nullptr;
}

const char* NoExcess(const Element& /*element*/)
{
    return nullptr;
}

/// SET OF Attribute; an Attribute is SEQUENCE { type, SET OF values }.
const char* AttributesExcess(ByteSpan attributes, std::size_t max, const char* tooMany)
{
    return EachElement(attributes, max, tooMany, [](const Element& attribute) -> const char* {
        ByteSpan fields = attribute.content;
        const std::optional<Element> values =
            attribute.tag == kSequence && Take(fields, kOid) ? Take(fields, kSet) : std::nullopt;
        if (!values || !fields.empty()) {
            return kMalformed;
        }
        return EachElement(values->content, SignedDataBounds::kMaxAttributeValues,
                           "an attribute has too many values", NoExcess);
    });
}

const char* SignerInfoExcess(const Element& signerInfo)
{
    if (signerInfo.tag != kSequence) {
        return kMalformed;
    }
    // Only the attribute sets vary in size; the other fields are single values.
    return EachElement(
        signerInfo.content, kMaxSignerInfoFields, kMalformed,
        [](const Element& field) -> const char* {
            if (field.tag == kConstructed0) {
                return AttributesExcess(field.content, SignedDataBounds::kMaxSignedAttributes,
                                        "too many signed attributes");
            }
            if (field.tag == kConstructed1) {
                return AttributesExcess(field.content, SignedDataBounds::kMaxUnsignedAttributes,
                                        "too many unsigned attributes");
            }
            return nullptr;
        });
}

/// SignedData: version, digestAlgorithms, encapContentInfo, [0] certificates
/// and [1] crls (both optional), signerInfos.
const char* SignedDataFieldsExcess(ByteSpan fields)
{
    const std::optional<Element> digests =
        Take(fields, kInteger) ? Take(fields, kSet) : std::nullopt;
    if (!digests || !Take(fields, kSequence)) {
        return kMalformed;
    }
    if (const char* excess = EachElement(digests->content, SignedDataBounds::kMaxDigestAlgorithms,
                                         "too many digest algorithms", NoExcess)) {
        return excess;
    }
    std::optional<Element> next = Take(fields);
    if (next && next->tag == kConstructed0) {
        if (const char* excess = EachElement(next->content, SignedDataBounds::kMaxCertificates,
                                             "too many certificates", NoExcess)) {
            return excess;
        }
        next = Take(fields);
    }
    if (next && next->tag == kConstructed1) {
        if (const char* excess = EachElement(next->content, SignedDataBounds::kMaxCrls,
                                             "it carries CRLs", NoExcess)) {
            return excess;
        }
        next = Take(fields);
    }
    if (!next || next->tag != kSet || !fields.empty()) {
        return kMalformed;
    }
    return EachElement(next->content, SignedDataBounds::kMaxSignerInfos, "too many signers",
                       SignerInfoExcess);
}

}  // namespace

const char* SignedDataExcess(ByteSpan der)
{
    if (der.size() > kMaxSignatureSize) {
        return "it is larger than the bound of a signature";
    }
    ByteSpan rest = der;
    const std::optional<Element> contentInfo = Take(rest, kSequence);
    if (!contentInfo || !rest.empty()) {
        return kMalformed;
    }
    ByteSpan fields = contentInfo->content;
    const std::optional<Element> content =
        Take(fields, kOid) ? Take(fields, kConstructed0) : std::nullopt;
    if (!content || !fields.empty()) {
        return kMalformed;
    }
    ByteSpan inner = content->content;
    const std::optional<Element> signedData = Take(inner, kSequence);
    if (!signedData || !inner.empty()) {
        return kMalformed;
    }
    return SignedDataFieldsExcess(signedData->content);
}

}  // namespace crypto::lum
