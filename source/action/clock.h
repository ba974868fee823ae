#pragma once

#include <memory>

#include <boost/date_time/posix_time/ptime.hpp>

namespace integrity_check_tool::action {

/// The wall clock, so that what is stamped with the time can be tested.
class IClock {
public:
    virtual ~IClock() = default;
    /// The local time, to the second.
    virtual boost::posix_time::ptime Now() const = 0;
};
using IClockPtr = std::shared_ptr<const IClock>;

/// The system's local time.
class LocalClock final : public IClock {
public:
    boost::posix_time::ptime Now() const override;
};

}  // namespace integrity_check_tool::action
