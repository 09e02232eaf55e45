// `quillgate decode --as ROOT FILE`: lets a publisher check a body (a paywall configuration,
// a journey) against the client's decoders before publishing it. The verdict is the client's
// own: the record as the client reads it, or the line the client would log on failure.
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <string_view>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/records/RecordCoding.h"
#include "tools/quillgate/Commands.h"

namespace quillgate::host {

namespace {

struct DecodeOutcome {
    bool ok = false;
    // The record as pretty JSON, or the long decode-failure line.
    std::string text;
};

using DecodeFunction = DecodeOutcome (*)(std::string_view body);

template <class T>
DecodeOutcome decodeAs(std::string_view body) {
    auto record = decode<T>(body);
    if (!record) {
        return {false, longDecodingFailureLine(record.error())};
    }
    return {true, encodeToString(*record, 2)};
}

struct Root {
    std::string_view name;
    DecodeFunction decode;
};

template <class T>
constexpr Root root() {
    return Root{T::typeName, &decodeAs<T>};
}

constexpr std::array kRoots = {
    root<UserJourneyModel>(), root<CustomizePayWallModel>(),
    root<MeterModel>(),       root<ContentDetails>(),
    root<PopUpModel>(),       root<EmbededSubscription>(),
    root<UserDetails>(),      root<LoginChallenge>(),
    root<AutoLoginModel>(),   root<PurchaseModel>(),
    root<LogoutModel>(),      root<APIResponse>(),
};

const Root* findRoot(std::string_view name) {
    for (const Root& candidate : kRoots) {
        if (candidate.name == name) {
            return &candidate;
        }
    }
    return nullptr;
}

bool readAll(std::istream& in, std::string& body) {
    std::ostringstream buffer;
    buffer << in.rdbuf();
    body = std::move(buffer).str();
    return !in.bad();
}

}  // namespace

std::vector<std::string> decodableRoots() {
    std::vector<std::string> names;
    for (const Root& candidate : kRoots) {
        names.emplace_back(candidate.name);
    }
    return names;
}

int runDecode(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
              std::ostream& err) {
    std::string rootName;
    std::string file;
    bool haveFile = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--as") {
            if (i + 1 == args.size()) {
                return usageError(err, "decode: --as wants the name of a root record");
            }
            rootName = args[++i];
        } else if (arg.size() > 1 && arg.front() == '-') {
            return usageError(err, "decode: unknown option \"" + arg + "\"");
        } else if (haveFile) {
            return usageError(
                err, "decode: one file at a time (got \"" + file + "\" and \"" + arg + "\")");
        } else {
            file = arg;
            haveFile = true;
        }
    }
    if (rootName.empty()) {
        return usageError(err, "decode: --as ROOT is needed");
    }
    const Root* target = findRoot(rootName);
    if (target == nullptr) {
        std::string known;
        for (const Root& candidate : kRoots) {
            known += known.empty() ? "" : ", ";
            known += candidate.name;
        }
        return usageError(
            err, "decode: no root record named \"" + rootName + "\" (one of " + known + ")");
    }
    if (!haveFile) {
        return usageError(err, "decode: a file is needed (or - for standard input)");
    }

    std::string body;
    if (file == "-") {
        if (!readAll(in, body)) {
            err << "quillgate: decode: could not read standard input\n";
            return 2;
        }
    } else {
        std::error_code ignored;
        std::ifstream stream(file, std::ios::binary);
        if (std::filesystem::is_directory(file, ignored) || !stream || !readAll(stream, body)) {
            err << "quillgate: decode: cannot read \"" << file << "\"\n";
            return 2;
        }
    }

    const DecodeOutcome outcome = target->decode(body);
    out << outcome.text << "\n";
    return outcome.ok ? 0 : 1;
}

}  // namespace quillgate::host
