#include "tests/support/FontFiles.h"

#include <fstream>
#include <map>
#include <mutex>

namespace quillgate::testing {

std::filesystem::path systemFontFile(std::string_view fileName) {
    static std::mutex mutex;
    static std::map<std::string, std::filesystem::path, std::less<>> found;
    std::lock_guard lock(mutex);
    if (auto it = found.find(fileName); it != found.end()) {
        return it->second;
    }
    std::filesystem::path match;
    for (const char* root : {"/usr/share/fonts", "/usr/local/share/fonts"}) {
        std::error_code ec;
        for (auto it = std::filesystem::recursive_directory_iterator(
                 root, std::filesystem::directory_options::skip_permission_denied, ec);
             !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            if (it->path().filename() == fileName && it->is_regular_file(ec)) {
                match = it->path();
                break;
            }
        }
        if (!match.empty()) {
            break;
        }
    }
    found.emplace(std::string(fileName), match);
    return match;
}

std::string fileContent(const std::filesystem::path& file) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(file, ec);
    std::ifstream in(file, std::ios::binary);
    if (ec || !in) {
        return {};
    }
    std::string content(size, '\0');
    in.read(content.data(), static_cast<std::streamsize>(size));
    content.resize(static_cast<std::size_t>(in.gcount()));
    return content;
}

}  // namespace quillgate::testing
