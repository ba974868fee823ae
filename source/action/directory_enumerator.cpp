#include "action/directory_enumerator.h"

#include <boost/filesystem/operations.hpp>

#include "data_object/messages.h"
#include "exception.h"
#include "tracer.h"

namespace integrity_check_tool {

namespace fs = boost::filesystem;

void DirectoryEnumerator::Enumerate(const Path& root,
                                    const std::function<void(const std::string&)>& onFile) const
{
    Trace(kTraceDebug, "Begin enumeration of %1%", root.string());
    boost::system::error_code error;
    if (!fs::is_directory(root, error)) {
        if (!error) {
            error = boost::system::errc::make_error_code(boost::system::errc::not_a_directory);
        }
    } else {
        fs::recursive_directory_iterator it(root, fs::directory_options::none, error);
        for (; !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
            const Path& path = it->path();
            boost::system::error_code typeError;
            const fs::file_status status = fs::status(path, typeError);
            if (typeError && typeError != boost::system::errc::no_such_file_or_directory) {
                Trace(kTraceDebug, "Can't get type of file %1%", path.string());
                error = typeError;
                break;
            }
            if (fs::is_directory(status)) {
                Trace(kTraceDebug, "Current path %1%", path.string());
            } else if (fs::is_regular_file(status)) {
                Trace(kTraceDebug, "File path %1%", path.string());
                onFile(path.lexically_relative(root).generic_string());
            }
        }
    }
    Trace(kTraceDebug, "End enumeration of %1% with status %2%", root.string(), error.value());
    if (error) {
        ICT_THROW(messages::kCantAccessFile, root.string(), error.message());
    }
}

}  // namespace integrity_check_tool
