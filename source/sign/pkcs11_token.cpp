// The pkcs11 engine is what Debian 12 ships to reach tokens from OpenSSL 3
// (no provider for it there); its API is deprecated in OpenSSL 3 and used
// in this file only. Defined before any OpenSSL header is read.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "sign/pkcs11_token.h"

#include <dlfcn.h>

#include <cstdlib>

#include <openssl/crypto.h>
#include <openssl/engine.h>
#include <openssl/err.h>
#include <openssl/ui.h>

#include "exception.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

namespace {

constexpr const char* kEngineId = "pkcs11";

/// A UI that never prompts: without a PIN the login fails instead of
/// waiting for a terminal.
class SilentUi final {
public:
    SilentUi() : method_(UI_create_method("integrity_sign: no prompts"))
    {
        if (method_ == nullptr ||
            UI_method_set_reader(method_, [](UI*, UI_STRING*) { return -1; }) != 0) {
            ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
        }
    }
    ~SilentUi() { UI_destroy_method(method_); }
    SilentUi(const SilentUi&) = delete;
    SilentUi& operator=(const SilentUi&) = delete;

    UI_METHOD* get() const noexcept { return method_; }

private:
    UI_METHOD* method_;
};

/// The engine, loaded once and never unloaded: it caches methods in its own
/// statics, which unloading would leave allocated and unreachable.
ENGINE* LoadedEngine()
{
    static ENGINE* const engine = ENGINE_by_id(kEngineId);
    return engine;
}

/// Wipes the PIN however the constructor ends.
class PinWiper final {
public:
    explicit PinWiper(std::string& pin) : pin_(pin) {}
    ~PinWiper() { OPENSSL_cleanse(pin_.data(), pin_.size()); }
    PinWiper(const PinWiper&) = delete;
    PinWiper& operator=(const PinWiper&) = delete;

private:
    std::string& pin_;
};

/// Fails with the loader's reason when `module` can't be loaded; the engine
/// would only print it and report an invalid parameter.
void CheckModuleLoads(const Path& module)
{
    void* handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* reason = ::dlerror();
        ICT_THROW(messages::kCantLoadModule, module.string(),
                  reason != nullptr ? reason : "unknown reason");
    }
    ::dlclose(handle);
}

/// The reasons OpenSSL queued, once each, without codes or the engine's
/// generic "failed loading" lines; empties the queue.
std::string TokenError(bool pinGiven)
{
    std::string text;
    while (const unsigned long code = ERR_get_error()) {
        const char* reason = ERR_reason_error_string(code);
        if (reason == nullptr || ERR_GET_LIB(code) == ERR_LIB_ENGINE ||
            text.find(reason) != std::string::npos) {
            continue;
        }
        text += (text.empty() ? "" : "; ") + std::string(reason);
    }
    if (text == "object not found") {
        text += pinGiven ? ": no token matches the URI, or the token holds no such object"
                         : ": no token matches the URI, or the token holds no such object or "
                           "shows it only after a login (give --pin-file)";
    }
    return text.empty() ? "unknown error" : text;
}

}  // namespace

Pkcs11Token::Pkcs11Token(const std::optional<Path>& module, std::string pin)
    : module_(module), pinGiven_(!pin.empty())
{
    const PinWiper wiper(pin);
    if (module) {
        CheckModuleLoads(*module);
    }
    engine_ = LoadedEngine();
    if (engine_ == nullptr) {
        ICT_THROW(messages::kNoPkcs11Engine, TakeOpenSslError());
    }
    // The engine's own diagnostics would add lines to the one message.
    const bool configured =
        ENGINE_ctrl_cmd_string(engine_, "QUIET", nullptr, 0) == 1 &&
        (!module || ENGINE_ctrl_cmd_string(engine_, "MODULE_PATH", module->c_str(), 0) == 1) &&
        ENGINE_init(engine_) == 1;
    if (!configured) {
        engine_ = nullptr;
        ICT_THROW(messages::kCantLoadModule, ModuleName(), TakeOpenSslError());
    }
    // The engine keeps its own copy.
    if (!pin.empty() && ENGINE_ctrl_cmd_string(engine_, "PIN", pin.c_str(), 0) != 1) {
        const std::string reason = TakeOpenSslError();
        ENGINE_finish(engine_);
        engine_ = nullptr;
        ICT_THROW(messages::kOpenSslFailed, reason);
    }
}

Pkcs11Token::~Pkcs11Token()
{
    if (engine_ != nullptr) {
        ENGINE_finish(engine_);  // closes the module
    }
}

EvpPkeyPtr Pkcs11Token::LoadPrivateKey(const Pkcs11Uri& uri) const
{
    const SilentUi ui;
    EvpPkeyPtr key(ENGINE_load_private_key(engine_, uri.GetObjectUri().c_str(), ui.get(), nullptr));
    if (!key) {
        ICT_THROW(messages::kCantLoadFromToken, "private key", uri.GetText(), ModuleName(),
                  TokenError(pinGiven_));
    }
    ERR_clear_error();
    return key;
}

X509Ptr Pkcs11Token::LoadCertificate(const Pkcs11Uri& uri) const
{
    struct {
        const char* id;
        X509* certificate;
    } request{uri.GetObjectUri().c_str(), nullptr};
    if (ENGINE_ctrl_cmd(engine_, "LOAD_CERT_CTRL", 0, &request, nullptr, 1) != 1 ||
        request.certificate == nullptr) {
        ICT_THROW(messages::kCantLoadFromToken, "certificate", uri.GetText(), ModuleName(),
                  TokenError(pinGiven_));
    }
    ERR_clear_error();
    return X509Ptr(request.certificate);
}

std::string Pkcs11Token::ModuleName() const
{
    // The engine's own default, when no module is named.
    const char* fromEnvironment = std::getenv("PKCS11_MODULE_PATH");
    return module_                      ? module_->string()
           : fromEnvironment != nullptr ? fromEnvironment
                                        : "p11-kit-proxy.so";
}

}  // namespace integrity_check_tool::sign
