#include "sign/input_file.h"

#include <boost/filesystem/operations.hpp>

#include "exception.h"
#include "sign/messages.h"
#include "utils/utils.h"

namespace integrity_check_tool::sign {

Blob ReadRegularFile(const Path& path, std::uint64_t limit)
{
    boost::system::error_code error;
    const auto status = boost::filesystem::status(path, error);
    if (!boost::filesystem::is_regular_file(status)) {
        ICT_THROW(messages::kNotRegularFile, path.string());
    }
    const auto size = boost::filesystem::file_size(path, error);
    if (!error && size > limit) {
        ICT_THROW(messages::kFileTooLarge, path.string());
    }
    Blob content = ReadWholeFile(path);
    // The file may have grown since it was measured.
    if (content.size() > limit) {
        ICT_THROW(messages::kFileTooLarge, path.string());
    }
    return content;
}

}  // namespace integrity_check_tool::sign
