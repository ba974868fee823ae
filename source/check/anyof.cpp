#include "check/anyof.h"

#include <exception>

#include "check/messages.h"
#include "check/verification_mismatch.h"
#include "tracer.h"

namespace integrity_check_tool::check {

void AnyOf::CheckFileValueWith(const Path& path, const ContentDigest* digest) const
{
    if (alternatives_.empty()) {
        ICT_THROW(messages::kNoChecksForFile, path.string());
    }
    Checks checks;
    for (const Alternative& alternative : alternatives_) {
        checks.emplace_back(alternative.name,
                            [&] { alternative.file->CheckFileValueWith(path, digest); });
    }
    CheckSequence(checks);
}

void AnyOf::CheckRegistryValue(const std::string& key, const std::string& value,
                               RegistryType type) const
{
    if (alternatives_.empty()) {
        ICT_THROW(messages::kNoChecksForRegistry, value, key);
    }
    Checks checks;
    for (const Alternative& alternative : alternatives_) {
        checks.emplace_back(alternative.name,
                            [&] { alternative.registry->CheckRegistryValue(key, value, type); });
    }
    CheckSequence(checks);
}

void AnyOf::CheckSequence(const Checks& checks) const
{
    std::vector<std::exception_ptr> failures;
    std::vector<std::string> texts;
    for (const auto& [name, call] : checks) {
        Trace(kTraceDebug, messages::kCheckStarted, name);
        try {
            call();
            Trace(kTraceDebug, messages::kCheckSucceeded, name);
            return;
        } catch (...) {
            failures.push_back(std::current_exception());
            texts.push_back(CurrentExceptionMessage());
            Trace(kTraceDebug, messages::kCheckFailed, name, texts.back());
        }
    }
    if (failures.size() == 1) {
        std::rethrow_exception(failures.front());
    }
    BOOST_THROW_EXCEPTION(AllChecksFailedException(texts));
}

}  // namespace integrity_check_tool::check
