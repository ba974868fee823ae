#include "sign/signer_factory.h"

#include "exception.h"
#include "sign/lum_signer.h"
#include "sign/vorn2_signer.h"

namespace integrity_check_tool::sign {

ISignerPtr CreateSigner(const SignOptions& options)
{
    switch (options.type) {
    case SignatureType::Lum:
    case SignatureType::LumWithFilename:
        return std::make_unique<LumSigner>(options);
    case SignatureType::Vorn2:
        return std::make_unique<Vorn2Signer>(options);
    }
    ICT_THROW("Unknown signature type");
}

}  // namespace integrity_check_tool::sign
