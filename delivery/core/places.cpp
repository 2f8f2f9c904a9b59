// The filter's spool, and the folders where Debian puts a service's state and settings.
#include "delivery/core/places.h"

#include <cstdlib>

namespace kestra::delivery {

Places placesOfThisMachine() {
  const char* variable = std::getenv("KESTRA_DELIVERY_ROOT");
  const std::string root = variable == nullptr ? "" : variable;
  return {root + "/var/spool/cups/tmp/kcv6data", root + "/var/spool/cups/tmp",
          root + "/var/lib/rastertokestra", root + "/etc/rastertokestra.conf"};
}

}  // namespace kestra::delivery
