#include "quillgate/platform/Log.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "quillgate/platform/Platform.h"

namespace quillgate::platform {

namespace detail {
// The sink is read from any thread (the HTTP worker prints too), so it lives beside the
// platform under its own lock rather than inside it.
std::mutex& sinkMutex() {
    static std::mutex m;
    return m;
}
LogSink& sinkSlot() {
    static LogSink sink;
    return sink;
}
}  // namespace detail

LogSink standardOutputSink() {
    return [](std::string_view line) {
        static std::mutex out;
        std::lock_guard lock(out);
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);
    };
}

void setLogSink(LogSink sink) {
    std::lock_guard lock(detail::sinkMutex());
    detail::sinkSlot() = std::move(sink);
}

LogSink currentLogSink() {
    {
        std::lock_guard lock(detail::sinkMutex());
        if (detail::sinkSlot()) {
            return detail::sinkSlot();
        }
    }
    return standardOutputSink();
}

void log(std::string_view line) {
    // The sink runs outside the lock (a copy), so that it may itself replace the sink or
    // print, and a slow sink on one thread never holds up another thread's replacement.
    currentLogSink()(line);
}

void fatal(std::string_view message) {
    log(message);
    // Also on standard error, where a crash report (and a death test) looks for it.
    std::fwrite(message.data(), 1, message.size(), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
    std::abort();
}

}  // namespace quillgate::platform
