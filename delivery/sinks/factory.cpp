// TCP is ours; everything else has a program of the print system.
#include "delivery/sinks/factory.h"

#include <string>
#include <utility>

#include "delivery/sinks/backend_sink.h"
#include "delivery/sinks/tcp_sink.h"

namespace kestra::delivery {

std::unique_ptr<Sink> makeSink(const DeviceUri& uri, std::unique_ptr<Starter> starter, bool inClass,
                               Watch& watch, Tell tell) {
  if (uri.scheme == "socket") {
    return std::make_unique<TcpSink>(uri.host, std::to_string(uri.port), inClass, watch,
                                     std::move(tell));
  }
  return std::make_unique<BackendSink>(uri.scheme, std::move(starter), inClass, watch,
                                       std::move(tell));
}

}  // namespace kestra::delivery
