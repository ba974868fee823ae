#include "signature/gost_curve.h"

#include <algorithm>

#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {
namespace {

constexpr const char* kInitStep = "Can't initialize VORN2 library";

BignumPtr FromHex(const char* hex)
{
    BIGNUM* raw = nullptr;
    if (BN_hex2bn(&raw, hex) == 0) {
        VORN_THROW(kInitStep, kCryptoLibraryError);
    }
    return BignumPtr(raw);
}

// The parameter sets of R 1323565.1.024-2019 (TC26), the test sets of the
// standard's worked examples (GOST R 34.10-2012 appendix A, RFC 7091) and
// the older CryptoPro OIDs that name the same curves. The twisted Edwards
// sets (256-bit A, 512-bit C) are given in their Weierstrass form.
const std::vector<GostCurve::Definition>& Definitions()
{
    // clang-format off
    static const std::vector<GostCurve::Definition> definitions = {
        {"id-GostR3410-2001-TestParamSet", "1.2.643.2.2.35.0", {}, 256,
         "8000000000000000000000000000000000000000000000000000000000000431",
         "0000000000000000000000000000000000000000000000000000000000000007",
         "5fbff498aa938ce739b8e022fbafef40563f6e6a3472fc2a514c0ce9dae23b7e",
         "8000000000000000000000000000000150fe8a1892976154c59cfc193accf5b3",
         "0000000000000000000000000000000000000000000000000000000000000002",
         "08e2a8a0e65147d4bd6316030e16d19c85c97f0a9ca267122b96abbcea7e8fc8",
         1},
        {"id-tc26-gost-3410-2012-256-paramSetB", "1.2.643.7.1.2.1.1.2", {"1.2.643.2.2.35.1", "1.2.643.2.2.36.0"}, 256,
         "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd97",
         "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd94",
         "00000000000000000000000000000000000000000000000000000000000000a6",
         "ffffffffffffffffffffffffffffffff6c611070995ad10045841b09b761b893",
         "0000000000000000000000000000000000000000000000000000000000000001",
         "8d91e471e0989cda27df505a453f2b7635294f2ddf23e3b122acc99c9e9f1e14",
         1},
        {"id-tc26-gost-3410-2012-256-paramSetA", "1.2.643.7.1.2.1.1.1", {}, 256,
         "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd97",
         "c2173f1513981673af4892c23035a27ce25e2013bf95aa33b22c656f277e7335",
         "295f9bae7428ed9ccc20e7c359a9d41a22fccd9108e17bf7ba9337a6f8ae9513",
         "400000000000000000000000000000000fd8cddfc87b6635c115af556c360c67",
         "91e38443a5e82c0d880923425712b2bb658b9196932e02c78b2582fe742daa28",
         "32879423ab1a0375895786c4bb46e9565fde0b5344766740af268adb32322e5c",
         4},
        {"id-tc26-gost-3410-2012-256-paramSetC", "1.2.643.7.1.2.1.1.3", {"1.2.643.2.2.35.2"}, 256,
         "8000000000000000000000000000000000000000000000000000000000000c99",
         "8000000000000000000000000000000000000000000000000000000000000c96",
         "3e1af419a269a5f866a7d3c25c3df80ae979259373ff2b182f49d4ce7e1bbc8b",
         "800000000000000000000000000000015f700cfff1a624e5e497161bcc8a198f",
         "0000000000000000000000000000000000000000000000000000000000000001",
         "3fa8124359f96680b83d1c3eb2c070e5c545c9858d03ecfb744bf8d717717efc",
         1},
        {"id-tc26-gost-3410-2012-256-paramSetD", "1.2.643.7.1.2.1.1.4", {"1.2.643.2.2.35.3", "1.2.643.2.2.36.1"}, 256,
         "9b9f605f5a858107ab1ec85e6b41c8aacf846e86789051d37998f7b9022d759b",
         "9b9f605f5a858107ab1ec85e6b41c8aacf846e86789051d37998f7b9022d7598",
         "000000000000000000000000000000000000000000000000000000000000805a",
         "9b9f605f5a858107ab1ec85e6b41c8aa582ca3511eddfb74f02f3a6598980bb9",
         "0000000000000000000000000000000000000000000000000000000000000000",
         "41ece55743711a8c3cbf3783cd08c0ee4d4dc440d4641a8f366e550dfdb3bb67",
         1},
        {"id-tc26-gost-3410-2012-512-paramSetTest", "1.2.643.7.1.2.1.2.0", {}, 512,
         "4531acd1fe0023c7550d267b6b2fee80922b14b2ffb90f04d4eb7c09b5d2d15d"
         "f1d852741af4704a0458047e80e4546d35b8336fac224dd81664bbf528be6373",
         "0000000000000000000000000000000000000000000000000000000000000000"
         "0000000000000000000000000000000000000000000000000000000000000007",
         "1cff0806a31116da29d8cfa54e57eb748bc5f377e49400fdd788b649eca1ac43"
         "61834013b2ad7322480a89ca58e0cf74bc9e540c2add6897fad0a3084f302adc",
         "4531acd1fe0023c7550d267b6b2fee80922b14b2ffb90f04d4eb7c09b5d2d15d"
         "a82f2d7ecb1dbac719905c5eecc423f1d86e25edbe23c595d644aaf187e6e6df",
         "24d19cc64572ee30f396bf6ebbfd7a6c5213b3b3d7057cc825f91093a68cd762"
         "fd60611262cd838dc6b60aa7eee804e28bc849977fac33b4b530f1b120248a9a",
         "2bb312a43bd2ce6e0d020613c857acddcfbf061e91e5f2c3f32447c259f39b2c"
         "83ab156d77f1496bf7eb3351e1ee4e43dc1a18b91b24640b6dbb92cb1add371e",
         1},
        {"id-tc26-gost-3410-12-512-paramSetA", "1.2.643.7.1.2.1.2.1", {}, 512,
         "ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
         "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffdc7",
         "ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
         "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffdc4",
         "e8c2505dedfc86ddc1bd0b2b6667f1da34b82574761cb0e879bd081cfd0b6265"
         "ee3cb090f30d27614cb4574010da90dd862ef9d4ebee4761503190785a71c760",
         "ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
         "27e69532f48d89116ff22b8d4e0560609b4b38abfad2b85dcacdb1411f10b275",
         "0000000000000000000000000000000000000000000000000000000000000000"
         "0000000000000000000000000000000000000000000000000000000000000003",
         "7503cfe87a836ae3a61b8816e25450e6ce5e1c93acf1abc1778064fdcbefa921"
         "df1626be4fd036e93d75e6a50e3a41e98028fe5fc235f5b889a589cb5215f2a4",
         1},
        {"id-tc26-gost-3410-12-512-paramSetB", "1.2.643.7.1.2.1.2.2", {}, 512,
         "8000000000000000000000000000000000000000000000000000000000000000"
         "000000000000000000000000000000000000000000000000000000000000006f",
         "8000000000000000000000000000000000000000000000000000000000000000"
         "000000000000000000000000000000000000000000000000000000000000006c",
         "687d1b459dc841457e3e06cf6f5e2517b97c7d614af138bcbf85dc806c4b289f"
         "3e965d2db1416d217f8b276fad1ab69c50f78bee1fa3106efb8ccbc7c5140116",
         "8000000000000000000000000000000000000000000000000000000000000001"
         "49a1ec142565a545acfdb77bd9d40cfa8b996712101bea0ec6346c54374f25bd",
         "0000000000000000000000000000000000000000000000000000000000000000"
         "0000000000000000000000000000000000000000000000000000000000000002",
         "1a8f7eda389b094c2c071e3647a8940f3c123b697578c213be6dd9e6c8ec7335"
         "dcb228fd1edf4a39152cbcaaf8c0398828041055f94ceeec7e21340780fe41bd",
         1},
        {"id-tc26-gost-3410-2012-512-paramSetC", "1.2.643.7.1.2.1.2.3", {}, 512,
         "ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
         "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffdc7",
         "dc9203e514a721875485a529d2c722fb187bc8980eb866644de41c68e1430645"
         "46e861c0e2c9edd92ade71f46fcf50ff2ad97f951fda9f2a2eb6546f39689bd3",
         "b4c4ee28cebc6c2c8ac12952cf37f16ac7efb6a9f69f4b57ffda2e4f0de5ade0"
         "38cbc2fff719d2c18de0284b8bfef3b52b8cc7a5f5bf0a3c8d2319a5312557e1",
         "3fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
         "c98cdba46506ab004c33a9ff5147502cc8eda9e7a769a12694623cef47f023ed",
         "e2e31edfc23de7bdebe241ce593ef5de2295b7a9cbaef021d385f7074cea043a"
         "a27272a7ae602bf2a7b9033db9ed3610c6fb85487eae97aac5bc7928c1950148",
         "f5ce40d95b5eb899abbccff5911cb8577939804d6527378b8c108c3d2090ff9b"
         "e18e2d33e3021ed2ef32d85822423b6304f726aa854bae07d0396e9a9addc40f",
         4},
    };
    // clang-format on
    return definitions;
}

}  // namespace

GostCurve::GostCurve(const Definition& definition)
    : name_(definition.name), oid_(definition.oid), aliases_(definition.aliases),
      keyBits_(definition.keyBits)
{
    const BnCtxPtr ctx(BN_CTX_new());
    const BignumPtr p = FromHex(definition.p);
    const BignumPtr a = FromHex(definition.a);
    const BignumPtr b = FromHex(definition.b);
    const BignumPtr x = FromHex(definition.x);
    const BignumPtr y = FromHex(definition.y);
    const BignumPtr cofactor(BN_new());
    order_ = FromHex(definition.q);
    if (!ctx || !cofactor || BN_set_word(cofactor.get(), definition.cofactor) != 1) {
        VORN_THROW(kInitStep, kOutOfMemory);
    }
    group_.reset(EC_GROUP_new_curve_GFp(p.get(), a.get(), b.get(), ctx.get()));
    if (!group_) {
        VORN_THROW(kInitStep, kCryptoLibraryError);
    }
    const EcPointPtr generator(EC_POINT_new(group_.get()));
    if (!generator ||
        EC_POINT_set_affine_coordinates(group_.get(), generator.get(), x.get(), y.get(),
                                        ctx.get()) != 1 ||
        EC_GROUP_set_generator(group_.get(), generator.get(), order_.get(), cofactor.get()) != 1) {
        VORN_THROW(kInitStep, kCryptoLibraryError);
    }
    // A typing error in the table would silently make every signature fail.
    if (EC_POINT_is_on_curve(group_.get(), generator.get(), ctx.get()) != 1) {
        VORN_THROW(kInitStep, kSelfTestFailed);
    }
}

bool GostCurve::HasOid(std::string_view oid) const noexcept
{
    return oid == oid_ || std::any_of(aliases_.begin(), aliases_.end(),
                                      [oid](const char* alias) { return oid == alias; });
}

const std::vector<GostCurve>& GostCurves()
{
    static const std::vector<GostCurve> curves = [] {
        std::vector<GostCurve> built;
        built.reserve(Definitions().size());
        for (const GostCurve::Definition& definition : Definitions()) {
            built.emplace_back(definition);
        }
        return built;
    }();
    return curves;
}

const GostCurve* FindGostCurve(std::string_view oid, unsigned keyBits)
{
    for (const GostCurve& curve : GostCurves()) {
        if (curve.KeyBits() == keyBits && curve.HasOid(oid)) {
            return &curve;
        }
    }
    return nullptr;
}

}  // namespace integrity_check_tool::vorn
