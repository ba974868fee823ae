#include "action/clock.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace integrity_check_tool::action {

boost::posix_time::ptime LocalClock::Now() const
{
    return boost::posix_time::second_clock::local_time();
}

}  // namespace integrity_check_tool::action
