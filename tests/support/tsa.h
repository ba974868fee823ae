#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/process.h"
#include "types.h"

/// Time-stamping authorities for tests, run by stock `openssl ts -reply`:
/// from files on disk, and behind HTTP on 127.0.0.1. Failures to set them up
/// throw std::runtime_error.
namespace integrity_check_tool::test::tsa {

/// A TSA that signs with `certificate` and `key` (PEM files): a minimal
/// openssl configuration and its serial file, both in `dir`.
class OpenSslTsa final {
public:
    /// Writes the configuration into `dir`. Imprints of the `digests`
    /// (openssl names, comma-separated) are granted, others rejected.
    OpenSslTsa(const Path& dir, Path certificate, Path key,
               const std::string& digests = "sha256, sha384, sha512");

    /// The command that answers the request in `query` with a DER reply
    /// written to `reply`.
    std::vector<std::string> ReplyCommand(const Path& query, const Path& reply) const;
    /// Runs ReplyCommand.
    ProcessResult Reply(const Path& query, const Path& reply) const;

private:
    Path config_;
    Path certificate_;
    Path key_;
};

/// Writes the token of the DER reply in `reply` to `token`, as `openssl ts
/// -reply -token_out` does.
ProcessResult ExtractToken(const Path& reply, const Path& token);

/// The DER of a granted reply carrying `token`, for tokens `openssl ts
/// -reply` won't sign.
std::string GrantedReply(const std::string& token);

/// An HTTP TSA on 127.0.0.1 (python3 on a free port, answering each POST
/// with `tsa`'s reply), stopped with the object. Its files go to `dir`,
/// which must outlive it. It also stops when the test process dies, and
/// after two minutes in any case.
class TsaServer final {
public:
    /// Starts it; throws when it has not reported its port within 10 s.
    TsaServer(const OpenSslTsa& tsa, const Path& dir);
    ~TsaServer();
    TsaServer(const TsaServer&) = delete;
    TsaServer& operator=(const TsaServer&) = delete;

    /// The URL of `path` on the server. "/" answers time-stamp requests;
    /// whatever is posted, "/status/N" answers with HTTP status N,
    /// "/wrong-type" with a text/plain body, "/empty" with a reply of no
    /// bytes and "/huge" with one of 2 MiB.
    std::string Url(const std::string& path = "/") const;

private:
    void Stop() noexcept;

    pid_t pid_ = -1;
    int input_ = -1;  ///< the server's stdin: it exits when this closes
    int port_ = 0;
};

}  // namespace integrity_check_tool::test::tsa
