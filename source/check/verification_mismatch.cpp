#include "check/verification_mismatch.h"

#include "check/messages.h"

namespace integrity_check_tool::check {

namespace {

std::string AllFailed(const std::vector<std::string>& failures)
{
    std::string text = messages::kAllChecksFailed;
    for (std::size_t i = 0; i < failures.size(); ++i) {
        text += Format(messages::kAllChecksFailedLine, i + 1, failures[i]);
    }
    return text;
}

}  // namespace

VerificationMismatch::VerificationMismatch(CheckType type, const std::string& reason,
                                           std::optional<Blob> actual)
    : Exception(Format(messages::kMismatch, ToName(type), reason)), actual_(std::move(actual))
{
}

AllChecksFailedException::AllChecksFailedException(const std::vector<std::string>& failures)
    : Exception(AllFailed(failures))
{
}

}  // namespace integrity_check_tool::check
