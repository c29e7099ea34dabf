#include "cli/file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "cli/error.h"

namespace workbench {

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

UserError failure(const std::string& what, const std::string& path) {
    return UserError(fmt::format("cannot {} {}: {}", what, path, std::strerror(errno)));
}

// Puts content into a file of any kind; false with errno set if that fails.
bool put(std::FILE* file, const std::string& content) {
    return file != nullptr &&
           std::fwrite(content.data(), 1, content.size(), file) == content.size() &&
           std::fflush(file) == 0;
}

// A file beside its target, which goes again unless it took its place.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& target) : name_(target + ".XXXXXX") {
        const int descriptor = mkstemp(name_.data());
        if (descriptor < 0) throw failure("write", target);
        file_ = fdopen(descriptor, "w");
        struct stat before;
        if (stat(target.c_str(), &before) == 0) {
            fchmod(descriptor, before.st_mode & 07777);
            return;
        }
        // As any new file; mkstemp gives it to its owner alone.
        const mode_t mask = umask(0);
        umask(mask);
        fchmod(descriptor, 0666 & ~mask);
    }
    ~TemporaryFile() {
        if (file_ != nullptr) std::fclose(file_);
        if (!name_.empty()) unlink(name_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    std::FILE* file() { return file_; }

    bool takePlaceOf(const std::string& target) {
        const bool closed = std::fclose(file_) == 0;
        file_ = nullptr;
        if (!closed || std::rename(name_.c_str(), target.c_str()) != 0) return false;
        name_.clear();
        return true;
    }

  private:
    std::string name_;
    std::FILE* file_;
};

bool isSpecial(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode) &&
           !S_ISDIR(info.st_mode);
}

// Where a symbolic link leads, so that the link itself stays, even to a file that is
// still to come.
std::string targetOf(const std::string& path) {
    std::filesystem::path target = path;
    std::error_code error;
    constexpr int kMostLinks = 40;
    for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(target, error); i++)
        target = target.parent_path() / std::filesystem::read_symlink(target, error);
    return target.string();
}

}  // namespace

std::string readFile(const std::string& path) {
    File file(path == "-" ? stdin : std::fopen(path.c_str(), "r"), [](std::FILE* opened) {
        return opened == stdin ? 0 : std::fclose(opened);
    });
    if (file == nullptr) throw failure("read", path);
    std::string content;
    char part[1 << 16];
    while (const std::size_t size = std::fread(part, 1, sizeof part, file.get()))
        content.append(part, size);
    if (std::ferror(file.get()) != 0) throw failure("read", path);
    return content;
}

void checkOutput(const std::string& path) {
    if (path == "-" || path.empty()) return;
    const std::string target = targetOf(path);
    std::error_code error;
    if (std::filesystem::is_directory(target, error)) {
        errno = EISDIR;
        throw failure("write", path);
    }
    const bool there = std::filesystem::exists(target, error);
    const auto folder = std::filesystem::path(target).parent_path();
    const bool writable =
        (!there || access(target.c_str(), W_OK) == 0) &&
        (isSpecial(target) ||
         access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0);
    if (!writable) throw failure("write", path);
}

void flushOutput() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw failure("write", "to standard output");
}

void writeFile(const std::string& path, const std::string& content) {
    if (path == "-") {
        if (!put(stdout, content)) throw failure("write", "to standard output");
        return;
    }
    if (isSpecial(path)) {
        const File file(std::fopen(path.c_str(), "w"), std::fclose);
        if (!put(file.get(), content)) throw failure("write", path);
        return;
    }
    const std::string target = targetOf(path);
    TemporaryFile temporary(target);
    if (!put(temporary.file(), content) || !temporary.takePlaceOf(target))
        throw failure("write", path);
}

}  // namespace workbench
