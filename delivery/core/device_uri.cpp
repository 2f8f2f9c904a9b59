// Takes a device URI apart. What belongs to the inner way stays letter by letter as it is: the
// program that gets it has rules of its own.
#include "delivery/core/device_uri.h"

#include <cups/http.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <utility>

namespace kestra::delivery {
namespace {

constexpr std::string_view kOwnScheme = "kestra";
constexpr std::string_view kOwnOption = "doubt=";
// The print system's own limit.
constexpr std::size_t kLongestUri = 1023;

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

// A name that can be the file name of a program, and of nothing outside the programs' folder.
bool isScheme(std::string_view text) {
  if (text.empty() || text.front() < 'a' || text.front() > 'z') return false;
  return std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
  });
}

bool hasBlankOrControl(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](unsigned char c) { return c <= ' ' || c == 0x7F; });
}

DeviceUri refused(std::string problem) {
  DeviceUri uri;
  uri.problem = std::move(problem);
  return uri;
}

// Moves our option out of the inner URI; the others keep their order and spelling.
bool takeDoubt(DeviceUri& uri) {
  const std::size_t query = uri.inner.find('?');
  if (query == std::string::npos) return true;
  const std::string options = uri.inner.substr(query + 1);
  std::string others;
  for (std::size_t start = 0; start <= options.size();) {
    const std::size_t end = std::min(options.find('&', start), options.size());
    const std::string option = options.substr(start, end - start);
    start = end + 1;
    if (option.compare(0, kOwnOption.size(), kOwnOption) == 0) {
      uri.doubt = doubtOfWord(std::string_view(option).substr(kOwnOption.size()));
      if (!uri.doubt) return false;
    } else {
      others += (others.empty() ? "" : "&") + option;
    }
  }
  if (uri.doubt) uri.inner = uri.inner.substr(0, query) + (others.empty() ? "" : "?" + others);
  return true;
}

// Host and port as the print system itself reads them: an address in brackets, a default port.
bool takeHost(DeviceUri& uri) {
  std::array<char, 32> scheme = {};
  std::array<char, 1024> user = {};
  std::array<char, 1024> host = {};
  std::array<char, 1024> resource = {};
  const http_uri_status_t status = httpSeparateURI(
      HTTP_URI_CODING_ALL, uri.inner.c_str(), scheme.data(), static_cast<int>(scheme.size()),
      user.data(), static_cast<int>(user.size()), host.data(), static_cast<int>(host.size()),
      &uri.port, resource.data(), static_cast<int>(resource.size()));
  uri.host = host.data();
  constexpr std::size_t kLongestHost = 255;  // of the name service
  return status >= HTTP_URI_STATUS_OK && !uri.host.empty() && uri.host.size() <= kLongestHost &&
         !hasBlankOrControl(uri.host) && uri.port > 0 && uri.port <= 65535;
}

}  // namespace

DeviceUri parseDeviceUri(const std::string& uri) {
  if (uri.size() > kLongestUri) {
    return refused("The device URI has " + std::to_string(uri.size()) + " characters, at most " +
                   std::to_string(kLongestUri) + " are possible.");
  }
  if (hasBlankOrControl(uri)) {
    return refused("The device URI contains a blank or a control character; write it as %20.");
  }
  const std::size_t own = uri.find(':');
  if (own == std::string::npos || lowerCase(std::string_view(uri).substr(0, own)) != kOwnScheme) {
    return refused("The device URI does not begin with \"kestra:\".");
  }
  DeviceUri result;
  result.inner = uri.substr(own + 1);
  const std::size_t colon = result.inner.find(':');
  if (colon == std::string::npos || colon + 1 == result.inner.size()) {
    return refused(
        "The device URI names no printer after \"kestra:\"; for example "
        "\"kestra:socket://192.168.0.20:9100\" does.");
  }
  result.scheme = lowerCase(std::string_view(result.inner).substr(0, colon));
  if (!isScheme(result.scheme)) {
    return refused("What follows \"kestra:\" in the device URI is not the URI of a printer.");
  }
  if (result.scheme == kOwnScheme) {
    return refused("The device URI says \"kestra:\" twice; once is enough.");
  }
  if (!takeDoubt(result)) {
    return refused(
        "The option \"doubt\" of the device URI can be \"again\", \"skip\" or \"hold\".");
  }
  if (result.scheme == "socket" && !takeHost(result)) {
    return refused(
        "The device URI has no usable host and port; \"kestra:socket://192.168.0.20:9100\" would "
        "be one.");
  }
  return result;
}

Target parseTarget(const std::string& text) {
  constexpr std::string_view kUnix = "unix:";
  Target target;
  const std::string start = lowerCase(text.substr(0, text.find(':') + 1));
  if (start == "socket:" || start == "kestra:") {
    target.uri = parseDeviceUri(start == "kestra:" ? text : "kestra:" + text);
    target.kind = target.uri.scheme == "socket" ? Target::Kind::kSocket : Target::Kind::kBackend;
    target.problem = target.uri.problem;
  } else if (text.compare(0, kUnix.size(), kUnix) == 0) {
    target.kind = Target::Kind::kUnix;
    target.path = text.substr(kUnix.size());
    if (target.path.empty()) target.problem = "After \"unix:\" the path of a socket is missing.";
  } else if (text != "-") {
    target.kind = Target::Kind::kFile;
    target.path = text;
    if (text.empty()) target.problem = "Where to send to is missing.";
  }
  return target;
}

std::string deviceName(const DeviceUri& uri) {
  if (uri.scheme != "socket") return publicText(uri.inner);
  return "socket://" + lowerCase(uri.host) + ":" + std::to_string(uri.port);
}

std::string publicText(const std::string& uri) {
  const std::size_t slashes = uri.find("://");
  if (slashes == std::string::npos) return uri;
  const std::size_t start = slashes + 3;
  const std::size_t end = std::min(uri.find_first_of("/?#", start), uri.size());
  const std::size_t at = uri.substr(start, end - start).rfind('@');
  return at == std::string::npos ? uri : uri.substr(0, start) + uri.substr(start + at + 1);
}

}  // namespace kestra::delivery
