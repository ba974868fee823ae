#include "action/processor.h"

#include "check/verification_mismatch.h"
#include "data_object/read_ahead.h"
#include "exception.h"
#include "format.h"
#include "manifest/filter.h"
#include "manifest/manifest.h"
#include "tracer.h"

namespace integrity_check_tool {

Processor::Processor(zel::ITracerPtr tracer, IConsolePtr console, IFilterPtr filter,
                     IStatisticsPtr statistics, IRunReportPtr report)
    : zel::TracerProvider(std::move(tracer)), console_(std::move(console)),
      filter_(std::move(filter)), statistics_(std::move(statistics)), report_(std::move(report))
{
}

bool Processor::ProcessFile(const std::string& name, const Work& work)
{
    return Process(ObjectKind::File, name, work);
}

bool Processor::ProcessDirectory(const std::string& name, const Work& work)
{
    return Process(ObjectKind::Directory, name, work);
}

bool Processor::ProcessManifest(const std::string& name, const Work& work)
{
    return Process(ObjectKind::Manifest, name, work);
}

bool Processor::ProcessRegistryKey(const std::string& name, const Work& work)
{
    return Process(ObjectKind::RegistryKey, name, work);
}

bool Processor::ProcessRegistryValue(const std::string& name, const Work& work)
{
    return Process(ObjectKind::RegistryValue, name, work);
}

bool Processor::ProcessFile(const std::string& name, const CheckInfoList& checks, const Work& work)
{
    return Process(ObjectKind::File, name, work, &checks);
}

bool Processor::ProcessRegistryValue(const std::string& name, const CheckInfoList& checks,
                                     const Work& work)
{
    return Process(ObjectKind::RegistryValue, name, work, &checks);
}

bool Processor::Process(ObjectKind kind, const std::string& name, const Work& work,
                        const CheckInfoList* checks)
{
    const char* kindName = KindName(kind);
    Trace(kTraceDebug, "Processing %1% %2% ...", kindName, name);
    std::string reason;
    std::optional<Blob> actual;
    try {
        if (!work) {
            throw std::bad_function_call();
        }
        work();
        if (console_->IsShown(kConsoleDetail)) {
            console_->Write(kConsoleDetail, Format("%1% %2% succeeded\n", kindName, name));
        }
        if (statistics_) {
            statistics_->AddSucceeded(kind);
        }
        Report(kind, name, checks, EntryResult::Succeeded, {}, std::nullopt);
        return true;
    } catch (const check::VerificationMismatch& mismatch) {
        reason = CurrentExceptionMessage();
        actual = mismatch.Actual();
    } catch (...) {
        reason = CurrentExceptionMessage();
    }
    const std::string line = Format("%1% %2% failed. Reason: %3%", kindName, name, reason);
    Trace(kTraceError, line);
    console_->Write(kConsoleFailure, line + "\n");
    if (statistics_) {
        statistics_->AddFailed(kind);
    }
    Report(kind, name, checks, EntryResult::Failed, reason, actual);
    return false;
}

void Processor::Report(ObjectKind kind, const std::string& name, const CheckInfoList* checks,
                       EntryResult result, const std::string& reason,
                       const std::optional<Blob>& actual) const
{
    // The manifest's own outcome is its signature record and the summary.
    if (!report_ || kind == ObjectKind::Manifest) {
        return;
    }
    EntryRecord entry{kind, name, std::nullopt, result, reason, std::nullopt, std::nullopt};
    if (checks != nullptr && checks->size() == 1) {
        const CheckInfo& check = *checks->front();
        entry.check = check.type;
        if (IsReadAhead(check.type) || check.type == CheckType::Value) {
            entry.expected = check.value;
            // A check that passed found what it expected.
            entry.actual = result == EntryResult::Succeeded ? check.value : actual;
        }
    }
    report_->AddEntry(entry);
}

void Processor::Filter(Manifest& manifest)
{
    if (filter_) {
        manifest.Accept(*this);
    }
}

bool Processor::IsFiltered(ObjectKind kind, const Applicability& entry, const std::string& name)
{
    // An entry without conditions applies everywhere: no need to name it.
    if (!filter_ || entry == Applicability{}) {
        return false;
    }
    const char* kindName = KindName(kind);
    if (!filter_->IsFiltered(entry, Format("%1% %2%", kindName, name))) {
        return false;
    }
    if (console_->IsShown(kConsoleDetail)) {
        console_->Write(kConsoleDetail, Format("%1% %2% filtered\n", kindName, name));
    }
    if (statistics_) {
        statistics_->AddSkipped(kind);
    }
    Report(kind, name, nullptr, EntryResult::Skipped, "filtered", std::nullopt);
    return true;
}

void Processor::VisitManifest(Manifest& manifest)
{
    manifest.files.EraseIf(
        [this](const FileInfo& file) { return IsFiltered(ObjectKind::File, file, file.path); });
    std::erase_if(manifest.directories, [this](const DirectoryInfo& directory) {
        return IsFiltered(ObjectKind::Directory, directory, directory.path);
    });
    std::erase_if(manifest.registries, [this](const RegistryKeyInfo& key) {
        return IsFiltered(ObjectKind::RegistryKey, key, key.path);
    });
}

void Processor::VisitDirectory(DirectoryInfo& directory)
{
    directory.files.EraseIf([&](const FileInfo& file) {
        return IsFiltered(ObjectKind::File, file, (Path(directory.path) / file.path).string());
    });
}

void Processor::VisitRegistryKey(RegistryKeyInfo& key)
{
    key.values.EraseIf([this](const RegistryValueInfo& value) {
        return IsFiltered(ObjectKind::RegistryValue, value, value.name);
    });
}

}  // namespace integrity_check_tool
