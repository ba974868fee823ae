#include "vorn/result.h"

#include <algorithm>
#include <iterator>

namespace integrity_check_tool::vorn {
namespace {

struct ResultText {
    Result code;
    const char* message;
};

constexpr ResultText kMessages[] = {
    {kSuccess, "Success"},
    {kNotInitialized, "The library is not initialized"},
    {0x48097982, "The external IO library is not loaded"},
    {0x68B0ACF0, "The registry file couldn't be created"},
    {0x308015E7, "The registry file couldn't be written"},
    {0xDAB8D467, "The registry buffer couldn't be written"},
    {0x3D0507BD, "The registry buffer couldn't be opened"},
    {0xFD6EB8BE, "The registry file couldn't be read"},
    {0xC2FEF413, "Invalid registry file (has invalid header signature)"},
    {0x2A592774, "Invalid registry file (has invalid header version)"},
    {0x4EF35E4D, "Invalid registry file (has invalid header objects type)"},
    {kKeyNotFound, "Key for operation couldn't be found"},
    {0x8F995FFD, "Registry for operation couldn't be found"},
    {kHashInputError, "Object hash couln't be calculated because of input error"},
    {0xC58506ED, "Not all objects from the given list were verified successfully"},
    {0x38F3542D, "Object signed by \"sign-in-object\" has invalid signature"},
    {kIncompleteSignature, "Signature buffer contains incomplete signature"},
    {0xDEABF3F6, "Given pointer to object buffer and its size are 0"},
    {kInvalidParameters,
     "Some parameters of function call are invalid. In most cases - pointers to buffer and "
     "sizes are 0"},
    {0xE75ABF28,
     "Given type of objects isn't comply given set of parameters or registry has invalid type"},
    {kInternalError, "There was an internal processing error"},
    {0x9CEF5380, "Hash of object signed by \"hash registry\" wasn't found among given registries"},
    {0xDEC30EBE, "Another base registry with the same type was found"},
    {kSelfTestFailed, "The library integrity self-test failed"},
    {0x5B118908, "The signature wasn't created because of internal crypto-library error"},
    {kCryptoLibraryError, "The internal crypto-library error occurred"},
    {kObjectNotFound, "The object for operation wasn't found"},
    {kReadCallbackError, "The external GetBuffer_CallBack function error occurred"},
    {0x14064F2A, "The file for operation couldn't be opened"},
    {0x04529DA3, "The external I/O interface isn't initialized"},
    {0xEB529C3D,
     "The given set of registries isn't prepared to operation (VORN_IsRegsSetPrepared)"},
    {0xC9098782, "More than one private key of given type was found in call VORN_SignOneObjectTo*"},
    {kSignatureNotFound, "The signature of object signed by \"sign-in-object\" wasn't found"},
    {0xDE3346AC, "The signature was found during the operation of object hashing"},
    {0x504DE1B9, "Invalid size of buffer was given to call of property request"},
    {0xDDEE3E3D, "The requested property wasn't found"},
    {0x2BA71BA6, "The result of function VORN_CompareObjectsIgnoreSign in case objects not equal"},
    {0xBB25EA66,
     "The value of property VORN_OBJ_REG_INDEX is out of range of hash array in registry"},
    {0x474677E6,
     "Returned if the value of property VORN_OBJ_REG_INDEX is set and count of set of hash "
     "registries > 1"},
    {kOutOfMemory, "Failed to allocate necessary memory"},
    {kUnknownGostVersion, "Unknown Gost version"},
};

}  // namespace

const char* ResultMessage(Result code) noexcept
{
    const auto* found =
        std::find_if(std::begin(kMessages), std::end(kMessages),
                     [code](const ResultText& entry) { return entry.code == code; });
    return found != std::end(kMessages) ? found->message : "The unknown internal error occurred";
}

}  // namespace integrity_check_tool::vorn
