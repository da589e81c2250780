#include "platform/linux/http/Transfer.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <utility>

namespace velmora {
namespace {

/// A line that would not end where it does adds headers of its own.
bool isHeaderLine(std::string_view line) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    return !line.empty() && std::ranges::none_of(line, isControl);
}

HttpError::Kind kindOf(CURLcode code) {
    // Of an answer without a status line the library says that it does not support that protocol.
    const bool isOther = code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_WEIRD_SERVER_REPLY;
    return isOther ? HttpError::Kind::notHttp : HttpError::Kind::unreachable;
}

}  // namespace

Transfer::Transfer(HttpRequest request, const Completion<HttpResponse>& done)
    : request_(std::move(request)), done_(done) {}

Transfer::~Transfer() {
    if (handle_) curl_->easy_cleanup(handle_);
}

CURL* Transfer::prepare(const CurlLibrary& curl) {
    const std::string url = HttpClient::permittedAddress(request_.url);
    curl_ = &curl;
    handle_ = curl.easy_init();
    const bool isReady = handle_ && !url.empty() && addHeaders() && setUp(url);
    return isReady ? handle_ : nullptr;
}

/// The library keeps no copy of the list: it is made of our own memory.
bool Transfer::addHeaders() {
    // Without the answer to "Expect" a large body would wait for a second.
    lines_.emplace_back("Expect:");
    for (const std::string& line : request_.headers)
        lines_.emplace_back(line);
    if (!request_.authorization.empty()) lines_.emplace_back("Authorization: ", request_.authorization.view());
    if (!std::ranges::all_of(lines_, [](const Secret& line) { return isHeaderLine(line.view()); })) return false;
    list_.resize(lines_.size());
    for (std::size_t i = 0; i < lines_.size(); ++i)
        list_[i] = {lines_[i].data(), i + 1 < lines_.size() ? &list_[i + 1] : nullptr};
    return true;
}

bool Transfer::setUp(const std::string& url) {
    CURLcode failure = CURLE_OK;
    const auto set = [&](CURLoption option, auto value) {
        if (failure == CURLE_OK) failure = curl_->easy_setopt(handle_, option, value);
    };
    set(CURLOPT_URL, url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    if (url.starts_with("http:")) set(CURLOPT_PROXY, "");
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_CUSTOMREQUEST, request_.method.c_str());
    set(CURLOPT_POSTFIELDS, request_.body.data());
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
    set(CURLOPT_HTTPHEADER, list_.data());
    set(CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));  // none of them is for a proxy
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(request_.timeout.count()));
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);  // ends without waiting for a name server
    set(CURLOPT_WRITEFUNCTION, &Transfer::onBody);
    set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    return failure == CURLE_OK;
}

std::size_t Transfer::onBody(char* data, std::size_t size, std::size_t count, void* transfer) noexcept {
    try {
        return static_cast<Transfer*>(transfer)->take({data, size * count});
    } catch (...) {
        return 0;  // no memory
    }
}

/// Anything but its size ends the transfer.
std::size_t Transfer::take(std::string_view piece) {
    std::string& body = response_.body;
    if (body.empty()) {
        curl_off_t announced = -1;
        curl_->easy_getinfo(handle_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
        if (announced > 0) body.reserve(std::min(static_cast<std::size_t>(announced), request_.maximumBodyBytes));
    }
    if (piece.size() > request_.maximumBodyBytes - body.size()) {
        response_.isTooLarge = true;
        return 0;
    }
    body.append(piece);
    return piece.size();
}

void Transfer::finish(CURLcode code) {
    const std::optional<Completion<HttpResponse>> done = std::exchange(done_, std::nullopt);
    if (!done) return;
    long status = 0;
    if (handle_) curl_->easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
    response_.status = static_cast<int>(status);
    if (code == CURLE_OK || response_.isTooLarge) return done->fulfil(std::move(response_));
    done->fail(std::make_exception_ptr(HttpError(kindOf(code))));
}

}  // namespace velmora
