#include "quillgate/platform/linux/CurlHttpSession.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <deque>
#include <exception>
#include <limits>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "quillgate/platform/Log.h"

namespace quillgate::platform {

namespace fs = std::filesystem;

namespace {

void initialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

char upper(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

// The standard verbs upper-cased, whatever case they were written in; anything else as given.
std::string wireMethod(const std::string& method) {
    if (method.empty()) {
        return "GET";
    }
    std::string up(method);
    std::transform(up.begin(), up.end(), up.begin(), upper);
    static constexpr std::string_view standard[] = {"GET",   "HEAD",    "POST",  "PUT",    "DELETE",
                                                    "PATCH", "OPTIONS", "TRACE", "CONNECT"};
    for (std::string_view verb : standard) {
        if (up == verb) {
            return up;
        }
    }
    return method;
}

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return upper(x) == upper(y); });
}

// A header line may not carry its own line breaks: they would smuggle in further headers.
std::string withoutLineBreaks(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        if (c != '\r' && c != '\n') {
            out.push_back(c);
        }
    }
    return out;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() &&
           (s.back() == ' ' || s.back() == '\t' || s.back() == '\r' || s.back() == '\n')) {
        s.remove_suffix(1);
    }
    return s;
}

TransportError transportError(CURLcode code) {
    return TransportError{static_cast<int>(code), curl_easy_strerror(code)};
}

// Runs a caller's completion; one that throws must not take the worker thread down.
template <class Completion, class Result>
void deliver(Completion& completion, Result result) {
    if (!completion) {
        return;
    }
    auto call = std::move(completion);
    completion = nullptr;
    try {
        call(std::move(result));
    } catch (const std::exception& e) {
        log(std::string("Quillgate: an HTTP completion threw: ") + e.what());
    } catch (...) {
        log("Quillgate: an HTTP completion threw");
    }
}

}  // namespace

// One request, from hand-over to completion. Owned by the queue, then by the worker's table
// of active transfers; everything curl points into (body, header list) lives here.
struct Transfer {
    HttpRequest request;
    std::function<void(HttpResult)> onData;
    std::function<void(DownloadResult)> onDownload;

    CURL* easy = nullptr;
    curl_slist* headerList = nullptr;
    std::string method;
    std::string received;
    HttpHeaders responseHeaders;
    int fd = -1;  // download target
    fs::path file;

    ~Transfer() {
        if (easy != nullptr) {
            curl_easy_cleanup(easy);
        }
        curl_slist_free_all(headerList);
        closeFile();
        if (!file.empty()) {
            std::error_code ec;
            fs::remove(file, ec);
        }
    }

    bool isDownload() const { return static_cast<bool>(onDownload); }

    void closeFile() {
        if (fd >= 0) {
            ::close(fd);
            fd = -1;
        }
    }

    // Ends the transfer with the outcome `code`; the HTTP answer is read from the easy handle
    // when there was one.
    void complete(CURLcode code) {
        std::optional<HttpResponse> response;
        if (code == CURLE_OK && easy != nullptr) {
            HttpResponse r;
            curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &r.statusCode);
            char* url = nullptr;
            curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &url);
            r.url = url != nullptr ? url : request.url;
            r.headers = std::move(responseHeaders);
            response = std::move(r);
        }
        std::optional<TransportError> error;
        if (code != CURLE_OK) {
            error = transportError(code);
        }
        if (isDownload()) {
            closeFile();
            DownloadResult result;
            result.response = std::move(response);
            result.error = std::move(error);
            if (code == CURLE_OK) {
                result.location = file;
            }
            deliver(onDownload, std::move(result));
            // The destructor deletes the file if the completion left it there.
        } else {
            HttpResult result;
            result.response = std::move(response);
            result.error = std::move(error);
            if (code == CURLE_OK) {
                result.body = std::move(received);
            }
            deliver(onData, std::move(result));
        }
    }

    void completeClosed() {
        if (isDownload()) {
            closeFile();
            deliver(onDownload, DownloadResult{std::nullopt, std::nullopt,
                                               transportError(static_cast<CURLcode>(
                                                   CurlHttpSession::kSessionClosedError))});
        } else {
            deliver(onData, HttpResult{std::nullopt, std::nullopt,
                                       transportError(static_cast<CURLcode>(
                                           CurlHttpSession::kSessionClosedError))});
        }
    }

    static size_t onBody(char* data, size_t size, size_t count, void* user) {
        auto* self = static_cast<Transfer*>(user);
        const size_t bytes = size * count;
        if (self->fd < 0) {
            self->received.append(data, bytes);
            return bytes;
        }
        std::string_view rest(data, bytes);
        while (!rest.empty()) {
            const ssize_t n = ::write(self->fd, rest.data(), rest.size());
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                return 0;  // curl ends the transfer with CURLE_WRITE_ERROR
            }
            rest.remove_prefix(static_cast<size_t>(n));
        }
        return bytes;
    }

    // Called for each header line of each answer, redirects included: a status line starts a
    // new answer, so only the headers of the last one remain.
    static size_t onHeader(char* data, size_t size, size_t count, void* user) {
        auto* self = static_cast<Transfer*>(user);
        const size_t bytes = size * count;
        const std::string_view line = trimmed(std::string_view(data, bytes));
        if (line.substr(0, 5) == "HTTP/") {
            self->responseHeaders.clear();
        } else if (const size_t colon = line.find(':'); colon != std::string_view::npos) {
            self->responseHeaders.emplace_back(std::string(trimmed(line.substr(0, colon))),
                                               std::string(trimmed(line.substr(colon + 1))));
        }
        return bytes;
    }
};

struct CurlHttpSession::Worker {
    Options options;
    CURLM* multi = nullptr;
    std::thread thread;

    std::mutex mutex;
    std::deque<std::unique_ptr<Transfer>> queue;  // guarded by mutex
    bool stopping = false;                        // guarded by mutex

    // Worker thread only.
    std::unordered_map<CURL*, std::unique_ptr<Transfer>> active;

    static constexpr long kIdleConnectionsKept = 32;

    explicit Worker(Options o) : options(std::move(o)) {
        initialiseCurlOnce();
        multi = curl_multi_init();
        if (multi != nullptr) {
            curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, options.maxConnectionsPerHost);
            // Idle connections kept for reuse. curl sizes its cache from the transfers under
            // way, so after a burst (a paywall's fonts) it would close the service's idle
            // connection to make room, and the next article would connect again.
            curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, kIdleConnectionsKept);
        }
    }

    ~Worker() {
        if (multi != nullptr) {
            curl_multi_cleanup(multi);
        }
    }

    void enqueue(std::unique_ptr<Transfer> transfer) {
        {
            std::lock_guard lock(mutex);
            queue.push_back(std::move(transfer));
        }
        curl_multi_wakeup(multi);
    }

    void stop() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        curl_multi_wakeup(multi);
    }

    void run() {
        pthread_setname_np(pthread_self(), "quillgate-http");
        for (;;) {
            std::deque<std::unique_ptr<Transfer>> incoming;
            {
                std::lock_guard lock(mutex);
                if (stopping) {
                    break;
                }
                incoming.swap(queue);
            }
            for (auto& transfer : incoming) {
                start(std::move(transfer));
            }
            int running = 0;
            curl_multi_perform(multi, &running);
            collectFinished();
            // Sleeps until socket activity, curl's own next deadline, or a wake-up from
            // enqueue or stop; with nothing in flight curl has no deadline and the thread
            // sleeps until it is handed work.
            curl_multi_poll(multi, nullptr, 0, pollTimeout(), nullptr);
        }
        closeAll();
    }

    // How long the worker may sleep: until curl's next deadline (connect or transfer
    // time-outs, retries), for ever when it has none. Waking up once a second on an idle
    // session would cost an idle phone sixty wake-ups a minute.
    int pollTimeout() const {
        long ms = -1;
        if (curl_multi_timeout(multi, &ms) != CURLM_OK) {
            ms = 1000;
        }
        if (ms < 0 || ms > std::numeric_limits<int>::max()) {
            return std::numeric_limits<int>::max();
        }
        return static_cast<int>(ms);
    }

    // At the end: everything under way or still queued (including what completions hand
    // over meanwhile) completes with kSessionClosedError.
    void closeAll() {
        for (auto& [easy, transfer] : active) {
            curl_multi_remove_handle(multi, easy);
        }
        auto cutOff = std::move(active);
        active.clear();
        for (auto& [easy, transfer] : cutOff) {
            transfer->completeClosed();
        }
        cutOff.clear();
        for (;;) {
            std::deque<std::unique_ptr<Transfer>> rest;
            {
                std::lock_guard lock(mutex);
                rest.swap(queue);
            }
            if (rest.empty()) {
                break;
            }
            for (auto& transfer : rest) {
                transfer->completeClosed();
            }
        }
    }

    void collectFinished() {
        int left = 0;
        while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
            if (message->msg != CURLMSG_DONE) {
                continue;
            }
            CURL* easy = message->easy_handle;
            const CURLcode code = message->data.result;
            curl_multi_remove_handle(multi, easy);
            auto it = active.find(easy);
            if (it == active.end()) {
                continue;
            }
            std::unique_ptr<Transfer> transfer = std::move(it->second);
            active.erase(it);
            transfer->complete(code);
        }
    }

    void start(std::unique_ptr<Transfer> transfer) {
        const CURLcode code = configure(*transfer);
        if (code != CURLE_OK) {
            transfer->complete(code);
            return;
        }
        CURL* easy = transfer->easy;
        if (curl_multi_add_handle(multi, easy) != CURLM_OK) {
            transfer->complete(CURLE_FAILED_INIT);
            return;
        }
        active.emplace(easy, std::move(transfer));
    }

    CURLcode configure(Transfer& t) {
        t.easy = curl_easy_init();
        if (t.easy == nullptr) {
            return CURLE_FAILED_INIT;
        }
        CURL* e = t.easy;
        const HttpRequest& r = t.request;

        if (t.isDownload()) {
            const fs::path dir =
                options.downloadDirectory.empty() ? tempDirectory() : options.downloadDirectory;
            if (dir.empty()) {
                return CURLE_WRITE_ERROR;
            }
            std::string name = (dir / "quillgate-download-XXXXXX").string();
            t.fd = ::mkostemp(name.data(), O_CLOEXEC);
            if (t.fd < 0) {
                return CURLE_WRITE_ERROR;
            }
            t.file = name;
        }

        curl_easy_setopt(e, CURLOPT_PRIVATE, &t);
        curl_easy_setopt(e, CURLOPT_NOSIGNAL, 1L);
        if (curl_easy_setopt(e, CURLOPT_URL, r.url.c_str()) != CURLE_OK) {
            return CURLE_URL_MALFORMAT;
        }
        curl_easy_setopt(e, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(e, CURLOPT_FOLLOWLOCATION, r.followRedirects ? 1L : 0L);
        curl_easy_setopt(e, CURLOPT_MAXREDIRS, options.maxRedirects);
        curl_easy_setopt(e, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(e, CURLOPT_SSL_VERIFYPEER, 1L);
        curl_easy_setopt(e, CURLOPT_SSL_VERIFYHOST, 2L);
        if (!options.caFile.empty()) {
            curl_easy_setopt(e, CURLOPT_CAINFO, options.caFile.c_str());
        }
        curl_easy_setopt(e, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
        curl_easy_setopt(e, CURLOPT_WRITEDATA, &t);
        curl_easy_setopt(e, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
        curl_easy_setopt(e, CURLOPT_HEADERDATA, &t);
        // On https, a transfer to a host whose connection is still being set up waits to learn
        // whether it speaks HTTP/2 (known once the handshake has negotiated it): if so, every
        // request to that host, those running side by side included, shares the one
        // connection instead of opening more. Plain http only learns the version from an
        // answer, so waiting there would hold a request behind a slow one.
        if (r.url.starts_with("https://")) {
            curl_easy_setopt(e, CURLOPT_PIPEWAIT, 1L);
        }

        // The time-out is an idle interval, not a limit on the whole transfer: connecting may
        // take that long, and once connected the transfer ends only when no byte has come for
        // that long (curl's low-speed check, below one byte a second, in whole seconds). A
        // slow but steady answer is not cut. A time-out that is not a positive number means the
        // platform's default, 60 s.
        const double seconds =
            std::isfinite(r.timeoutSeconds) && r.timeoutSeconds > 0 ? r.timeoutSeconds : 60.0;
        const double ms = std::clamp(std::ceil(seconds * 1000.0), 1.0, 2147483647.0);
        curl_easy_setopt(e, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(ms));
        curl_easy_setopt(e, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(e, CURLOPT_LOW_SPEED_TIME, static_cast<long>(std::ceil(ms / 1000.0)));

        // Exactly the caller's headers: switch off each one curl would add on its own.
        bool hasAccept = false;
        bool hasExpect = false;
        bool hasContentType = false;
        for (const auto& [rawName, rawValue] : r.headers) {
            const std::string name = withoutLineBreaks(rawName);
            const std::string value = withoutLineBreaks(rawValue);
            if (name.empty()) {
                continue;
            }
            hasAccept = hasAccept || sameName(name, "Accept");
            hasExpect = hasExpect || sameName(name, "Expect");
            hasContentType = hasContentType || sameName(name, "Content-Type");
            // "Name;" is curl's way of sending a header with an empty value ("Name:" would
            // remove it).
            const std::string line = value.empty() ? name + ";" : name + ": " + value;
            if (!append(t.headerList, line)) {
                return CURLE_OUT_OF_MEMORY;
            }
        }
        if ((!hasAccept && !append(t.headerList, "Accept:")) ||
            (!hasExpect && !append(t.headerList, "Expect:")) ||
            (!hasContentType && !append(t.headerList, "Content-Type:"))) {
            return CURLE_OUT_OF_MEMORY;
        }
        curl_easy_setopt(e, CURLOPT_HTTPHEADER, t.headerList);

        t.method = wireMethod(r.method);
        const bool hasBody = r.body.has_value();
        if (t.method == "GET" && !hasBody) {
            curl_easy_setopt(e, CURLOPT_HTTPGET, 1L);
        } else if (t.method == "HEAD" && !hasBody) {
            curl_easy_setopt(e, CURLOPT_NOBODY, 1L);
        } else {
            // POST by curl's own logic, so that 301/302/303 turn it into a GET; other
            // methods by name. CURLOPT_POSTFIELDS does not copy: the body lives in the
            // request, which the transfer keeps until it ends.
            curl_easy_setopt(e, CURLOPT_POST, 1L);
            static const std::string noBody;
            const std::string& body = hasBody ? *r.body : noBody;
            curl_easy_setopt(e, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
            curl_easy_setopt(e, CURLOPT_POSTFIELDS, body.data());
            if (t.method != "POST") {
                curl_easy_setopt(e, CURLOPT_CUSTOMREQUEST, t.method.c_str());
            }
        }
        return CURLE_OK;
    }

    static bool append(curl_slist*& list, const std::string& line) {
        curl_slist* grown = curl_slist_append(list, line.c_str());
        if (grown == nullptr) {
            return false;
        }
        list = grown;
        return true;
    }

    static fs::path tempDirectory() {
        std::error_code ec;
        fs::path dir = fs::temp_directory_path(ec);
        return ec ? fs::path() : dir;
    }
};

CurlHttpSession::CurlHttpSession() : CurlHttpSession(Options{}) {}

CurlHttpSession::CurlHttpSession(Options options)
    : worker_(std::make_shared<Worker>(std::move(options))) {
    worker_->thread = std::thread([worker = worker_] { worker->run(); });
}

CurlHttpSession::~CurlHttpSession() {
    worker_->stop();
    if (worker_->thread.get_id() == std::this_thread::get_id()) {
        // Destroyed from one of its own completions: the worker finishes on its own and
        // releases its state when it ends.
        worker_->thread.detach();
    } else {
        worker_->thread.join();
    }
}

void CurlHttpSession::dataTask(HttpRequest request, std::function<void(HttpResult)> completion) {
    auto transfer = std::make_unique<Transfer>();
    transfer->request = std::move(request);
    transfer->onData = std::move(completion);
    worker_->enqueue(std::move(transfer));
}

void CurlHttpSession::downloadTask(HttpRequest request,
                                   std::function<void(DownloadResult)> completion) {
    auto transfer = std::make_unique<Transfer>();
    transfer->request = std::move(request);
    transfer->onDownload = std::move(completion);
    worker_->enqueue(std::move(transfer));
}

}  // namespace quillgate::platform
