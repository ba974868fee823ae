#include "support/tsa.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

#include "support/pki.h"
#include "support/temp_dir.h"

extern char** environ;

namespace integrity_check_tool::test::tsa {

namespace {

// Answers POSTs; exits when its stdin closes, so that a test that dies
// leaves no server behind, and after two minutes at the latest.
constexpr const char* kServerScript =
    R"(import http.server, os, subprocess, sys, tempfile, threading

workdir = sys.argv[1]
reply_command = sys.argv[2:]

class Handler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        body = self.rfile.read(int(self.headers.get('Content-Length', 0)))
        if self.path.startswith('/status/'):
            return self.answer(int(self.path[len('/status/'):]), 'text/plain', b'refused\n')
        if self.path == '/wrong-type':
            return self.answer(200, 'text/plain', b'not a reply\n')
        if self.path == '/empty':
            return self.answer(200, 'application/timestamp-reply', b'')
        if self.path == '/huge':
            return self.answer(200, 'application/timestamp-reply', bytes(2 * 1024 * 1024))
        fd, query = tempfile.mkstemp(dir=workdir, suffix='.tsq')
        with os.fdopen(fd, 'wb') as f:
            f.write(body)
        reply = query[:-4] + '.tsr'
        command = [a.replace('{query}', query).replace('{reply}', reply) for a in reply_command]
        done = subprocess.run(command, capture_output=True, timeout=20)
        if done.returncode != 0:
            return self.answer(500, 'text/plain', done.stderr)
        with open(reply, 'rb') as f:
            self.answer(200, 'application/timestamp-reply', f.read())

    def answer(self, status, content_type, body):
        self.send_response(status)
        self.send_header('Content-Type', content_type)
        self.send_header('Content-Length', str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *args):
        pass

def watch_stdin():
    sys.stdin.buffer.read()
    os._exit(0)

threading.Thread(target=watch_stdin, daemon=True).start()
threading.Timer(120, lambda: os._exit(0)).start()
server = http.server.HTTPServer(('127.0.0.1', 0), Handler)
print(server.server_address[1], flush=True)
server.serve_forever()
)";

constexpr int kStartTimeoutMs = 10000;

/// The first line `fd` delivers within the start timeout.
std::string ReadLine(int fd)
{
    std::string line;
    char c = 0;
    while (line.empty() || line.back() != '\n') {
        pollfd ready{fd, POLLIN, 0};
        const int polled = ::poll(&ready, 1, kStartTimeoutMs);
        if (polled < 0 && errno == EINTR) {
            continue;
        }
        if (polled <= 0 || ::read(fd, &c, 1) != 1) {
            throw std::runtime_error("the time-stamping server did not report its port");
        }
        line += c;
    }
    return line;
}

}  // namespace

OpenSslTsa::OpenSslTsa(const Path& dir, Path certificate, Path key, const std::string& digests)
    : config_(dir / "tsa.cnf"), certificate_(std::move(certificate)), key_(std::move(key))
{
    WriteFile(config_, "[tsa]\n"
                       "default_tsa = tsa_config\n"
                       "[tsa_config]\n"
                       "serial = " +
                           (dir / "tsa-serial").string() +
                           "\n"
                           "signer_digest = sha256\n"
                           "default_policy = 1.2.3.4.1\n"
                           "digests = " +
                           digests +
                           "\n"
                           "ess_cert_id_alg = sha256\n");
}

std::vector<std::string> OpenSslTsa::ReplyCommand(const Path& query, const Path& reply) const
{
    return {"openssl",
            "ts",
            "-reply",
            "-queryfile",
            query.string(),
            "-signer",
            certificate_.string(),
            "-inkey",
            key_.string(),
            "-config",
            config_.string(),
            "-out",
            reply.string()};
}

ProcessResult OpenSslTsa::Reply(const Path& query, const Path& reply) const
{
    return RunHostProcess(ReplyCommand(query, reply));
}

std::string GrantedReply(const std::string& token)
{
    return pki::Tlv(0x30, pki::Tlv(0x30, std::string("\x02\x01\x00", 3)) + token);
}

ProcessResult ExtractToken(const Path& reply, const Path& token)
{
    return RunHostProcess(
        {"openssl", "ts", "-reply", "-in", reply.string(), "-token_out", "-out", token.string()});
}

TsaServer::TsaServer(const OpenSslTsa& tsa, const Path& dir)
{
    const Path script = dir / "tsa_server.py";
    WriteFile(script, kServerScript);
    std::vector<std::string> command = {"python3", script.string(), dir.string()};
    const std::vector<std::string> reply = tsa.ReplyCommand("{query}", "{reply}");
    command.insert(command.end(), reply.begin(), reply.end());
    std::vector<char*> argv;
    for (std::string& part : command) {
        argv.push_back(part.data());
    }
    argv.push_back(nullptr);

    int inPipe[2];
    int outPipe[2];
    if (::pipe2(inPipe, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe failed");
    }
    if (::pipe2(outPipe, O_CLOEXEC) != 0) {
        ::close(inPipe[0]);
        ::close(inPipe[1]);
        throw std::runtime_error("pipe failed");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, inPipe[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    const int spawned = ::posix_spawnp(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(inPipe[0]);
    ::close(outPipe[1]);
    input_ = inPipe[1];
    if (spawned != 0) {
        pid_ = -1;
        ::close(outPipe[0]);
        ::close(input_);
        throw std::runtime_error("cannot start python3");
    }
    try {
        port_ = std::stoi(ReadLine(outPipe[0]));
    } catch (...) {
        ::close(outPipe[0]);
        Stop();
        throw;
    }
    ::close(outPipe[0]);
}

TsaServer::~TsaServer()
{
    Stop();
}

void TsaServer::Stop() noexcept
{
    if (input_ >= 0) {
        ::close(input_);
        input_ = -1;
    }
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
    }
}

std::string TsaServer::Url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

}  // namespace integrity_check_tool::test::tsa
