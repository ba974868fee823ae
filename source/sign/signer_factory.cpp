#include "sign/signer_factory.h"

#include "exception.h"
#include "sign/lum_signer.h"
#include "sign/messages.h"

namespace integrity_check_tool::sign {

ISignerPtr CreateSigner(const SignOptions& options)
{
    switch (options.type) {
    case SignatureType::Lum:
    case SignatureType::LumWithFilename:
        return std::make_unique<LumSigner>(options);
    case SignatureType::Vorn2:
        break;
    }
    ICT_THROW(messages::kVorn2NotSupported);
}

} // namespace integrity_check_tool::sign
