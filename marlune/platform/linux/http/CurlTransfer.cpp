#include "marlune/platform/linux/http/CurlTransfer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace marlune {
namespace {

constexpr int maximumRedirects = 10;
constexpr std::size_t maximumHeaderSize = std::size_t{256} << 10;

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

struct Origin {
  std::string scheme;
  std::string host;
  std::string port;
  bool operator==(const Origin&) const = default;
};

/// Scheme, host and port of an http or https address; nothing for any other.
std::optional<Origin> originOf(const std::string& url) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), &curl_url_cleanup);
  if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) return std::nullopt;
  const auto part = [&parsed](CURLUPart which) {
    char* text = nullptr;
    if (curl_url_get(parsed.get(), which, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) return std::string();
    std::string copy = lowerCase(text);
    curl_free(text);
    return copy;
  };
  Origin origin{part(CURLUPART_SCHEME), part(CURLUPART_HOST), part(CURLUPART_PORT)};
  if (origin.scheme != "http" && origin.scheme != "https") return std::nullopt;
  return origin;
}

std::string hostOf(const std::string& url) {
  const auto origin = originOf(url);
  return origin ? fmt::format("{}://{}:{}", origin->scheme, origin->host, origin->port) : std::string();
}

bool breaksHeader(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

// Beyond any use, but an instant plus this much is still an instant.
CurlTransfer::TimePoint after(CurlTransfer::TimePoint from, std::chrono::milliseconds limit) {
  return from + std::min<std::chrono::milliseconds>(limit, std::chrono::hours(24 * 365));
}

}  // namespace

CurlTransfer::CurlTransfer(HttpRequest request, HttpClient::Completion completion, Activity::Piece piece,
                           std::function<void()> wake)
    : request_(std::move(request)),
      completion_(std::move(completion)),
      piece_(std::move(piece)),
      wake_(std::move(wake)),
      host_(hostOf(request_.url)),
      url_(request_.url) {}

CurlTransfer::~CurlTransfer() = default;

void CurlTransfer::cancel() {
  if (!cancelled_.exchange(true)) wake_();
}

bool CurlTransfer::start(CURLM* multi) {
  started_ = lastByte_ = std::chrono::steady_clock::now();
  if (multi == nullptr) {
    fail("the HTTP library could not be started");
    return false;
  }
  if (auto fault = prepare()) {
    fail(std::move(*fault));
    return false;
  }
  if (curl_multi_add_handle(multi, easy_.get()) != CURLM_OK) {
    fail("the HTTP library refused the request");
    return false;
  }
  multi_ = multi;
  return true;
}

std::optional<std::string> CurlTransfer::prepare() {
  // An address without a scheme would be guessed at.
  const std::string scheme = lowerCase(std::string_view(url_).substr(0, url_.find(':')));
  if (scheme != "http" && scheme != "https") return fmt::format("not an http or https address: {}", url_);
  for (const auto& [name, value] : request_.headers) {
    if (name.empty() || breaksHeader(name) || breaksHeader(value)) return "a header with a line end in it";
  }
  easy_.reset(curl_easy_init());
  if (!easy_) return "out of memory";

  const auto limit = static_cast<long>(
      std::clamp<std::int64_t>(request_.silenceLimit.count(), 1, std::numeric_limits<int>::max()));
  CURL* const easy = easy_.get();
  bool set = true;
  const auto option = [easy, &set](CURLoption which, auto value) {
    set = curl_easy_setopt(easy, which, value) == CURLE_OK && set;
  };
  option(CURLOPT_URL, url_.c_str());
  option(CURLOPT_PATH_AS_IS, 1L);
  option(CURLOPT_PROTOCOLS_STR, "http,https");
  option(CURLOPT_FOLLOWLOCATION, 0L);  // see finish()
  option(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  option(CURLOPT_HTTP_CONTENT_DECODING, 0L);  // see GunzipStream
  option(CURLOPT_USERAGENT, "marlune/0.1");
  option(CURLOPT_SSL_VERIFYPEER, 1L);
  option(CURLOPT_SSL_VERIFYHOST, 2L);
  option(CURLOPT_CONNECTTIMEOUT_MS, limit);  // so that every address of a host is tried within it
  option(CURLOPT_NOSIGNAL, 1L);
  option(CURLOPT_QUICK_EXIT, 1L);  // else ending a request waits for a name server that does not answer
  option(CURLOPT_ERRORBUFFER, curlError_.data());
  option(CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
  option(CURLOPT_HEADERDATA, static_cast<void*>(this));
  option(CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
  option(CURLOPT_WRITEDATA, static_cast<void*>(this));
  if (!set || !setHeaders(true)) return "the HTTP library refused an option";
  return std::nullopt;
}

bool CurlTransfer::setHeaders(bool sameOrigin) {
  std::unique_ptr<curl_slist, FreeList> list;
  const auto append = [&list](const std::string& line) {
    curl_slist* grown = curl_slist_append(list.get(), line.c_str());
    if (grown == nullptr) return false;
    static_cast<void>(list.release());
    list.reset(grown);
    return true;
  };
  bool asksEncoding = false;
  for (const auto& [name, value] : request_.headers) {
    const std::string lower = lowerCase(name);
    asksEncoding = asksEncoding || lower == "accept-encoding";
    // Any other header may be a key that is meant for the first host alone.
    if (!sameOrigin && !lower.starts_with("accept") && lower != "user-agent") continue;
    // libcurl leaves out a header that ends in a colon; a semicolon asks for one without a value.
    const bool empty = trimmed(value).empty();
    if (!append(empty ? fmt::format("{};", name) : fmt::format("{}: {}", name, value))) return false;
  }
  if (!asksEncoding && !append("Accept-Encoding: gzip")) return false;
  headers_.swap(list);
  return curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, headers_.get()) == CURLE_OK;
}

bool CurlTransfer::finish(CURLcode result) {
  CURLM* const multi = multi_;
  long status = 0;
  char* location = nullptr;
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
  curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &location);
  const std::string target = location == nullptr ? "" : location;
  leave();

  if (auto fault = faultOf(result)) {
    fail(std::move(*fault));
    return false;
  }
  const bool redirected = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
  if (redirected && !target.empty()) {
    if (auto fault = redirect(target)) {
      fail(std::move(*fault));
      return false;
    }
    if (curl_multi_add_handle(multi, easy_.get()) != CURLM_OK) {
      fail("the HTTP library refused the redirected request");
      return false;
    }
    multi_ = multi;
    return true;
  }
  answer_.status = static_cast<int>(status);
  answer_.body = makeData(std::move(body_));
  complete(std::move(answer_));
  return false;
}

// Followed here rather than by libcurl, which would hand every header on to whatever host is named.
std::optional<std::string> CurlTransfer::redirect(const std::string& url) {
  if (++redirects_ > maximumRedirects) return fmt::format("more than {} redirects", maximumRedirects);
  const auto origin = originOf(url);
  if (!origin) return "redirected to what is no http or https address";
  const bool sameOrigin = origin == originOf(request_.url);
  url_ = url;
  body_.clear();
  gunzip_.reset();
  const bool set = curl_easy_setopt(easy_.get(), CURLOPT_URL, url_.c_str()) == CURLE_OK;
  if (!set || !setHeaders(sameOrigin)) return "the HTTP library refused an option";
  return std::nullopt;
}

std::optional<std::string> CurlTransfer::faultOf(CURLcode result) const {
  if (!fault_.empty()) return fault_;
  if (result != CURLE_OK) {
    return std::string(curlError_[0] != '\0' ? curlError_.data() : curl_easy_strerror(result));
  }
  // libcurl takes an answer that is cut within its headers for one without a body.
  if (!headComplete_) return "the answer ends within its headers";
  if (gunzip_ && !gunzip_->complete()) return "the compressed body ends early";
  return std::nullopt;
}

bool CurlTransfer::keepGoing(TimePoint now) {
  if (cancelled_) {
    fail("cancelled");
    return false;
  }
  if (now >= after(started_, request_.totalLimit)) {
    fail(fmt::format("no whole answer within {} ms", request_.totalLimit.count()));
    return false;
  }
  if (now >= after(lastByte_, request_.silenceLimit)) {
    fail(fmt::format("no byte for {} ms", request_.silenceLimit.count()));
    return false;
  }
  return true;
}

CurlTransfer::TimePoint CurlTransfer::deadline() const {
  return std::min(after(started_, request_.totalLimit), after(lastByte_, request_.silenceLimit));
}

void CurlTransfer::fail(std::string error) {
  HttpAnswer answer;
  answer.error = std::move(error);
  leave();
  complete(std::move(answer));
}

void CurlTransfer::leave() {
  if (multi_ != nullptr) curl_multi_remove_handle(std::exchange(multi_, nullptr), easy_.get());
}

void CurlTransfer::complete(HttpAnswer answer) {
  easy_.reset();
  auto completion = std::exchange(completion_, nullptr);
  const auto piece = std::exchange(piece_, nullptr);
  if (completion) completion(std::move(answer));
  completion = nullptr;  // what it holds is gone before the piece ends
}

std::size_t CurlTransfer::onHeader(char* data, std::size_t size, std::size_t count, void* self) {
  return static_cast<CurlTransfer*>(self)->takeHeader({data, size * count}) ? size * count : 0;
}

std::size_t CurlTransfer::onBody(char* data, std::size_t size, std::size_t count, void* self) {
  // Fewer bytes than were given tell libcurl to end the transfer; none were given at times.
  return static_cast<CurlTransfer*>(self)->takeBody({data, size * count}) ? size * count : size * count + 1;
}

bool CurlTransfer::takeHeader(std::string_view line) {
  lastByte_ = std::chrono::steady_clock::now();
  if (line.starts_with("HTTP/")) {  // each answer begins so: interim ones and those that redirect too
    answer_.headers.clear();
    headerSize_ = 0;
    headComplete_ = false;
    gunzip_.reset();
  }
  if (line == "\r\n" || line == "\n") headComplete_ = true;
  headerSize_ += line.size();
  if (headerSize_ > maximumHeaderSize) {
    fault_ = fmt::format("more than {} bytes of headers", maximumHeaderSize);
    return false;
  }
  if ((line.starts_with(' ') || line.starts_with('\t')) && !answer_.headers.empty()) {
    answer_.headers.back().second.append(" ").append(trimmed(line));
    return true;
  }
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return true;
  std::string name = lowerCase(trimmed(line.substr(0, colon)));
  answer_.headers.emplace_back(std::move(name), trimmed(line.substr(colon + 1)));
  return true;
}

bool CurlTransfer::takeBody(std::string_view bytes) {
  lastByte_ = std::chrono::steady_clock::now();
  if (bytes.empty()) return true;
  if (body_.empty() && !gunzip_) {
    for (const auto& [name, value] : answer_.headers) {
      if (name != "content-encoding") continue;
      const std::string encoding = lowerCase(value);
      if (encoding == "gzip" || encoding == "x-gzip") {
        gunzip_ = std::make_unique<GunzipStream>();
      } else if (!encoding.empty() && encoding != "identity") {
        fault_ = fmt::format("the body comes in an encoding that was not asked for: {}", value);
        return false;
      }
    }
  }
  const std::size_t limit = request_.maximumBodySize;
  auto outcome = GunzipStream::Outcome::fine;
  if (gunzip_) {
    outcome = gunzip_->feed(bytes, body_, limit);
  } else if (bytes.size() > limit - std::min(limit, body_.size())) {
    outcome = GunzipStream::Outcome::tooLarge;
  } else {
    body_.append(bytes);
  }
  if (outcome == GunzipStream::Outcome::damaged) fault_ = "the compressed body is damaged";
  if (outcome == GunzipStream::Outcome::tooLarge) fault_ = fmt::format("a body of more than {} bytes", limit);
  return outcome == GunzipStream::Outcome::fine;
}

}  // namespace marlune
