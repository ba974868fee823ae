#include "data_object/file.h"

#include <sys/stat.h>

#include <cerrno>

#include <zel/exception.h>
#include <zel/file_io.h>

#include "data_object/messages.h"
#include "exception.h"
#include "utils/utils.h"

namespace integrity_check_tool {

template <class Operation> auto File::UnifyError(Operation operation) const -> decltype(operation())
{
    std::string reason;
    try {
        return operation();
    } catch (const zel::Exception& error) {
        reason = zel::ResultMessage(error.GetResult());
    } catch (const std::exception& error) {
        reason = ExceptionMessage(error);
    } catch (...) {
        reason = "Unknown exception";
    }
    ICT_THROW(messages::kCantAccessFile, path_, reason);
}

bool File::IsExists()
{
    return UnifyError([this] {
        struct stat status {};
        if (::stat(path_.c_str(), &status) == 0) {
            return true;
        }
        if (errno == ENOENT || errno == ENOTDIR) {
            return false;
        }
        ZEL_CHECK(zel::ResultFromErrno(errno));
        return false;
    });
}

zel::IIOPtr File::GetData()
{
    return UnifyError([this] {
        zel::IIOPtr io;
        ZEL_CHECK(zel::FileIO::Open(path_, zel::OpenMode::Read, io));
        return io;
    });
}

}  // namespace integrity_check_tool

namespace integrity_check_tool {

Blob IDataObject::ReadContent(std::uint64_t limit)
{
    return ReadWholeStream(*GetData(), limit);
}

Blob File::ReadContent(std::uint64_t limit)
{
    return UnifyError([&] {
        zel::IIOPtr io;
        ZEL_CHECK(zel::FileIO::Open(path_, zel::OpenMode::Read, io));
        return ReadWholeStream(*io, limit);
    });
}

}  // namespace integrity_check_tool
