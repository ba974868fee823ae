#pragma once

#include "sign/options.h"

namespace integrity_check_tool::sign {

// The three time-stamping modes. Each throws Exception; on any failure the
// signed file, the output and the request stay as they were.

/// Writes the TimeStampReq for `options.file`'s lum signature to
/// `options.query`.
void WriteTimestampQuery(const TimestampOptions& options);

/// Embeds the token of the reply `options.reply` (matched to the request
/// `options.query` when given) into `options.file`, written to
/// `options.output` or in place.
void EmbedTimestampReply(const TimestampOptions& options);

/// Asks the time-stamping authority at `options.url` and embeds its token as
/// EmbedTimestampReply does, the nonce checked.
void FetchTimestamp(const TimestampOptions& options);

}  // namespace integrity_check_tool::sign
