#pragma once

#include "data_object/read_ahead.h"
#include "factory/factory.h"

namespace integrity_check_tool::action {

/// Makes `factory` hand `readAhead` to the hash checks it creates while
/// this lives.
class ScopedReadAhead {
public:
    ScopedReadAhead(IFactory& factory, IReadAheadPtr readAhead) : factory_(factory)
    {
        factory_.SetReadAhead(std::move(readAhead));
    }
    ~ScopedReadAhead() { factory_.SetReadAhead(nullptr); }
    ScopedReadAhead(const ScopedReadAhead&) = delete;
    ScopedReadAhead& operator=(const ScopedReadAhead&) = delete;

private:
    IFactory& factory_;
};

}  // namespace integrity_check_tool::action
