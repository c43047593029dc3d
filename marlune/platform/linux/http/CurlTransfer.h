#pragma once

#include <curl/curl.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/platform/Activity.h"
#include "marlune/platform/HttpClient.h"
#include "marlune/platform/linux/http/GunzipStream.h"

namespace marlune {

/// One request of a CurlHttpClient. Made anywhere, cancelled anywhere; the rest belongs to the client's
/// thread.
class CurlTransfer : public HttpTransfer {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// `wake` is called when it is cancelled, so that the client's thread looks after it.
  CurlTransfer(HttpRequest request, HttpClient::Completion completion, Activity::Piece piece,
               std::function<void()> wake);
  ~CurlTransfer() override;
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  void cancel() override;
  bool isCancelled() const { return cancelled_; }

  /// Scheme, host and port that it is sent to; empty where the address has none.
  const std::string& host() const { return host_; }

  /// Begins: its limits count from now on. Hands the request to `multi`, or completes it when it cannot be
  /// sent. True when it is under way.
  bool start(CURLM* multi);

  /// libcurl is done with it: completes it, or follows a redirect. True when it is under way again.
  bool finish(CURLcode result);

  /// Completes it when it was cancelled or a limit has passed. True when it is still under way.
  bool keepGoing(TimePoint now);

  /// When keepGoing() is due next.
  TimePoint deadline() const;

  /// Takes it from libcurl and calls the completion with an error.
  void fail(std::string error);

  CURL* handle() const { return easy_.get(); }

 private:
  struct FreeEasy {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
  };
  struct FreeList {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);

  std::optional<std::string> prepare();
  bool setHeaders(bool sameOrigin);
  bool takeHeader(std::string_view line);
  bool takeBody(std::string_view bytes);
  std::optional<std::string> redirect(const std::string& url);
  std::optional<std::string> faultOf(CURLcode result) const;
  void leave();
  void complete(HttpAnswer answer);

  HttpRequest request_;
  HttpClient::Completion completion_;
  Activity::Piece piece_;
  const std::function<void()> wake_;
  const std::string host_;
  std::atomic<bool> cancelled_ = false;

  CURLM* multi_ = nullptr;  // while it is under way
  std::unique_ptr<CURL, FreeEasy> easy_;
  std::unique_ptr<curl_slist, FreeList> headers_;
  std::array<char, CURL_ERROR_SIZE> curlError_{};
  std::string url_;
  int redirects_ = 0;
  TimePoint started_;
  TimePoint lastByte_;

  HttpAnswer answer_;
  Bytes body_;
  std::size_t headerSize_ = 0;
  bool headComplete_ = false;
  std::string fault_;  // what a callback found wrong, which says more than libcurl's "callback failed"
  std::unique_ptr<GunzipStream> gunzip_;
};

}  // namespace marlune
