#include "sign/timestamp_commands.h"

#include <string>
#include <string_view>

#include "sign/input_file.h"
#include "sign/lum_signed_file.h"
#include "sign/timestamp_embedder.h"
#include "sign/timestamp_reply.h"
#include "sign/timestamp_request.h"
#include "sign/tsa_client.h"
#include "utils/atomic_file.h"

namespace integrity_check_tool::sign {

namespace {

void WriteAtomically(const Path& path, const Blob& bytes)
{
    AtomicFile file(path);
    file.Write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    file.Commit();
}

/// Checks `reply` and writes `file` with its token.
void Embed(const LumSignedFile& file, const TimestampReply& reply, const TimestampRequest* request,
           const std::string& requestName, const TimestampOptions& options)
{
    const Blob token = reply.VerifiedToken(file, request, requestName);
    WriteAtomically(options.output.value_or(options.file), EmbedTimestampToken(file, token));
}

}  // namespace

void WriteTimestampQuery(const TimestampOptions& options)
{
    const LumSignedFile file(options.file);
    WriteAtomically(options.query.value(), TimestampRequest::ForImprint(file.Imprint()).ToDer());
}

void EmbedTimestampReply(const TimestampOptions& options)
{
    const LumSignedFile file(options.file);
    const Path& replyPath = options.reply.value();
    const TimestampReply reply(ReadRegularFile(replyPath, kMaxTsaReplySize), replyPath.string());
    if (options.query) {
        const TimestampRequest request = TimestampRequest::Read(*options.query);
        Embed(file, reply, &request, options.query->string(), options);
    } else {
        Embed(file, reply, nullptr, {}, options);
    }
}

void FetchTimestamp(const TimestampOptions& options)
{
    const LumSignedFile file(options.file);
    const TimestampRequest request = TimestampRequest::ForImprint(file.Imprint());
    const TimestampReply reply(PostTimestampQuery(options.url, request.ToDer()), options.url);
    Embed(file, reply, &request, "sent to " + options.url, options);
}

}  // namespace integrity_check_tool::sign
