#include "session/session_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/memory.h"
#include "database/contents.h"
#include "database/database.h"

#define ERROR_SOURCE "session/session_file.c"

namespace {

constexpr char kMagic[8] = {'K', 'A', 'V', 'R', 'I', 'L', '\r', '\n'};
constexpr Long kVersion = 1;
// The magic, the version, the length of what follows, and the checksums of that and of
// all before this last one.
constexpr std::size_t kHeader = 8 + 4 + 8 + 8 + 8;
// No session is larger: its memory is counted in 31 bits.
constexpr std::size_t kLargest = std::size_t{1} << 31;

// Calls act(values, number) for the amounts of a configuration, of one that is written or
// of one that is read.
template <class Config, class Act>
void forEachRow(Config* config, Act act) {
    auto* weights = &config->primaryComputationConfig;
    act(&weights->Fortz, 1);
    for (auto* row :
         {&weights->loadBal, &weights->load, &weights->sqLoad, &weights->relLoad,
          &weights->sqRelLoad, &weights->delay, &weights->rerouting})
        act(*row, kClasses);
    act(&config->reroutingConfig.scoreCoef[0][0], kClasses * kLevels);
}

void writeConfig(ByteWriter* out, const UsedNumbers& numbers) {
    out->number(numbers.classes);
    out->number(numbers.levels);
    const PredicateConfig& switches = kavrilConfig.predicateConfig;
    out->byte(switches.allowReroute ? 1 : 0);
    out->byte(switches.capacityClause ? 1 : 0);
    out->byte(switches.colorClause ? 1 : 0);
    forEachRow(&kavrilConfig,
               [=](const double* values, Long nb) { out->amounts(values, nb); });
}

void readConfig(ByteReader* in, KAVRILConfig* config, UsedNumbers* numbers) {
    numbers->classes = in->number();
    numbers->levels = in->number();
    PredicateConfig* switches = &config->predicateConfig;
    switches->allowReroute = in->byte() != 0;
    switches->capacityClause = in->byte() != 0;
    switches->colorClause = in->byte() != 0;
    forEachRow(config, [=](double* values, Long nb) { in->amounts(values, nb); });
}

// Slots that are free have no text.
void writeStack(ByteWriter* out) {
    const ErrorList& stack = errorManager;
    out->number(stack.size);
    out->number(stack.top);
    for (Long i = 0; i < stack.size; i++) {
        const bool isUsed = i < stack.top;
        const std::size_t length = isUsed ? std::strlen(stack.list[i].message) : 0;
        out->byte(isUsed ? static_cast<std::uint8_t>(stack.list[i].gravity) : 0);
        out->byte(static_cast<std::uint8_t>(length));
        if (isUsed) out->raw(stack.list[i].message, length);
    }
}

bool isPlainText(const std::uint8_t* text, std::size_t length) {
    return std::all_of(text, text + length, [](std::uint8_t c) {
        return c == '\n' || (c >= ' ' && c <= '~');
    });
}

void readMessage(ByteReader* in, ErrorElem* to) {
    to->gravity = static_cast<GravityLevel>(in->byte());
    const std::size_t length = in->byte();
    const std::uint8_t* text = in->raw(length);
    in->require(length < sizeof to->message && to->gravity <= PANIC, "a message");
    if (!in->isFine() || length == 0) return;
    in->require(isPlainText(text, length), "the text of a message");
    std::memcpy(to->message, text, length);
}

void readStack(ByteReader* in, ErrorList* stack) {
    const Long size = in->count(16);
    const Long top = in->number();
    in->require(size >= 1 && top >= 0 && top <= size, "the size of the error stack");
    if (!in->isFine()) return;
    void* list = mycalloc(static_cast<std::size_t>(size), sizeof(ErrorElem));
    if (list == nullptr) return in->refuse(kNoMemory);
    *stack = {size, top, static_cast<ErrorElem*>(list)};
    for (Long i = 0; i < size && in->isFine(); i++) readMessage(in, &stack->list[i]);
}

void writeSession(ByteWriter* out, DataBase* dataBase, const UsedNumbers& numbers) {
    writeConfig(out, numbers);
    writeStack(out);
    writeDataBase(out, dataBase);
}

// Numbers at a place in the header.
Long versionIn(const std::uint8_t* header) {
    return ByteReader(header + sizeof kMagic, 4).number();
}
std::uint64_t largeIn(const std::uint8_t* header, std::size_t at) {
    return ByteReader(header + at, 8).large();
}

// Writes all of it.
bool writeAll(int fd, const std::uint8_t* bytes, std::size_t nb) {
    while (nb > 0) {
        const ssize_t written = write(fd, bytes, nb);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        nb -= static_cast<std::size_t>(written);
    }
    return true;
}

// A text of the system's malloc.
struct Text {
    Text() = default;
    explicit Text(const char* from) : cont(strdup(from)) {}
    ~Text() { std::free(cont); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    char* cont = nullptr;
};

// What is in a folder is on the disk only once the folder is.
bool flushFolderOf(const char* path) {
    const Text folder(path);
    if (folder.cont == nullptr) return false;
    char* slash = std::strrchr(folder.cont, '/');
    if (slash != nullptr) slash[slash == folder.cont ? 1 : 0] = '\0';
    const int fd = open(slash != nullptr ? folder.cont : ".", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool isFlushed = fsync(fd) == 0;
    close(fd);
    return isFlushed;
}

// Opens a file that did not exist, beside the path.
int openBeside(const char* path, Text* name) {
    const std::size_t size = std::strlen(path) + 32;
    name->cont = static_cast<char*>(std::malloc(size));
    for (int i = 0; name->cont != nullptr && i < 100; i++) {
        std::snprintf(name->cont, size, "%s.%d-%d.tmp", path, getpid(), i);
        const int fd = open(name->cont, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

// strerror_r gives the text or, in other systems' libraries, a number.
[[maybe_unused]] const char* textOf(const char* given, const char*) {
    return given;
}
[[maybe_unused]] const char* textOf(int, const char* written) {
    return written;
}

int failed(const char* what) {
    char text[100] = "";
    const char* reason = textOf(strerror_r(errno, text, sizeof text), text);
    return FAIL_WITH(-1, "%s: %s", what, reason);
}

int replaceFile(const char* path, const ByteWriter& bytes) {
    Text name;
    const int fd = openBeside(path, &name);
    if (fd < 0) return failed("No file can be made there");
    const bool isWritten = writeAll(fd, bytes.data(), bytes.size()) && fsync(fd) == 0;
    int error = errno;
    close(fd);
    if (isWritten && rename(name.cont, path) == 0)
        return flushFolderOf(path) ? 0 : failed("The folder cannot be flushed");
    if (isWritten) error = errno;
    unlink(name.cont);
    errno = error;
    return failed("The file cannot be written");
}

// The contents of a file, in memory of the system's.
struct FileContents {
    FileContents() = default;
    ~FileContents() { std::free(bytes); }
    FileContents(const FileContents&) = delete;
    FileContents& operator=(const FileContents&) = delete;
    std::uint8_t* bytes = nullptr;
    std::size_t nb = 0;
};

bool readAll(int fd, FileContents* contents) {
    std::size_t nb = 0;
    while (nb < contents->nb) {
        const ssize_t got = read(fd, contents->bytes + nb, contents->nb - nb);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;
        nb += static_cast<std::size_t>(got);
    }
    contents->nb = nb;
    return true;
}

int readOpen(int fd, FileContents* contents) {
    // Not fstat: that of new systems would keep the library from loading on old ones.
    std::uint8_t first;
    if (read(fd, &first, 1) < 0) return failed("It cannot be read");
    const off_t size = lseek(fd, 0, SEEK_END);
    if (size < 0 || lseek(fd, 0, SEEK_SET) < 0)
        return FAIL_WITH(-1, "It is no regular file");
    contents->nb = static_cast<std::size_t>(size);
    if (contents->nb > kLargest)
        return FAIL_WITH(-1, "It is too large for a session: %zu bytes", contents->nb);
    contents->bytes = static_cast<std::uint8_t*>(std::malloc(contents->nb + 1));
    if (contents->bytes == nullptr) return FAIL_WITH(-1, "%s", kNoMemory);
    return readAll(fd, contents) ? 0 : failed("It cannot be read");
}

int readContents(const char* path, FileContents* contents) {
    // Whoever opens a pipe for reading waits for a writer, unless told not to.
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return failed("It cannot be opened");
    const int ret = readOpen(fd, contents);
    close(fd);
    return ret;
}

// What is wrong with a file that starts like one of ours, from the outside in.
int checkHeader(const std::uint8_t* bytes, std::size_t nb) {
    if (nb == 0 || std::memcmp(bytes, kMagic, std::min(nb, sizeof kMagic)) != 0)
        return FAIL_WITH(-1, "It is no session file");
    if (nb < kHeader) return FAIL_WITH(-1, "It is cut off after %zu bytes", nb);
    if (largeIn(bytes, kHeader - 8) != checksum(bytes, kHeader - 8))
        return FAIL_WITH(-1, "It is damaged: its header has been altered");
    if (versionIn(bytes) > kVersion)
        return FAIL_WITH(-1, "It has version %d, this library reads up to version %d",
                         versionIn(bytes), kVersion);
    if (versionIn(bytes) < 1) return FAIL_WITH(-1, "It has no version");
    const std::uint64_t length = largeIn(bytes, sizeof kMagic + 4);
    if (nb - kHeader < length)
        return FAIL_WITH(-1, "It is cut off after %zu bytes of %zu", nb,
                         static_cast<std::size_t>(length) + kHeader);
    if (nb - kHeader > length)
        return FAIL_WITH(-1, "It is damaged: %zu bytes too many",
                         nb - kHeader - static_cast<std::size_t>(length));
    if (largeIn(bytes, sizeof kMagic + 12) != checksum(bytes + kHeader, nb - kHeader))
        return FAIL_WITH(-1, "It is damaged: its contents have been altered");
    return 0;
}

// Begins a session that is a copy of the loaded one, which others get only then.
int beginCopy() {
    const KeptSession kept;
    if (beginSession() < 0) return -1;
    const SessionItem* original = kept.item();
    const ErrorList& stack = original->errorManager;
    void* list = mycalloc(static_cast<std::size_t>(stack.size), sizeof(ErrorElem));
    DataBase* copy = list != nullptr ? DBcopy(original->centralDB) : nullptr;
    if (copy == nullptr) {
        myfree(list);
        return FAIL_WITH(-1, "Unable to copy the session: %s", kNoMemory);
    }
    centralDB = copy;
    kavrilConfig = original->kavrilConfig;
    errorDestroy();
    errorManager = {stack.size, stack.top, static_cast<ErrorElem*>(list)};
    std::copy_n(stack.list, stack.top, errorManager.list);
    return 0;
}

}  // namespace

DataBase* readSession(ByteReader* in, UsedNumbers* numbers) {
    KAVRILConfig config = {};
    UsedNumbers used = {};
    ErrorList stack = {};
    readConfig(in, &config, &used);
    readStack(in, &stack);
    DataBase* dataBase = in->isFine() ? readDataBase(in) : nullptr;
    if (dataBase != nullptr && in->left() > 0) {
        in->refuse("something is left over");
        DBdestroy(dataBase);
        dataBase = nullptr;
    }
    if (dataBase == nullptr) {
        myfree(stack.list);
        return nullptr;
    }
    errorDestroy();
    errorManager = stack;
    kavrilConfig = config;
    *numbers = used;
    return dataBase;
}

void writeFile(ByteWriter* out, DataBase* dataBase, const UsedNumbers& numbers) {
    ByteWriter contents;
    writeSession(&contents, dataBase, numbers);
    if (!contents.isFine()) return out->refuse(contents.wrong());
    out->raw(kMagic, sizeof kMagic);
    out->number(kVersion);
    out->large(contents.size());
    out->large(checksum(contents.data(), contents.size()));
    if (out->isFine()) out->large(checksum(out->data(), out->size()));
    out->raw(contents.data(), contents.size());
}

DataBase* readFile(const std::uint8_t* bytes, std::size_t nb, UsedNumbers* numbers) {
    if (checkHeader(bytes, nb) < 0) return nullptr;
    ByteReader in(bytes + kHeader, nb - kHeader);
    DataBase* dataBase = readSession(&in, numbers);
    if (dataBase == nullptr && in.wrong() == kNoMemory)
        return FAIL_WITH(nullptr, "%s", kNoMemory);
    return dataBase != nullptr
               ? dataBase
               : FAIL_WITH(nullptr, "It contradicts itself: %s", in.wrong());
}

int saveFile(DataBase* dataBase, const UsedNumbers& numbers, const char* path) {
    if (dataBase == nullptr || path == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    ByteWriter bytes;
    writeFile(&bytes, dataBase, numbers);
    if (!bytes.isFine())
        return FAIL_WITH(-1, "Unable to save the session: %s", bytes.wrong());
    return replaceFile(path, bytes) == 0 ? 0
                                         : FAIL_WITH(-1, "Unable to save the session");
}

DataBase* loadFile(const char* path, UsedNumbers* numbers) {
    if (path == nullptr) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    FileContents contents;
    DataBase* dataBase = readContents(path, &contents) == 0
                             ? readFile(contents.bytes, contents.nb, numbers)
                             : nullptr;
    return dataBase != nullptr ? dataBase
                               : FAIL_WITH(nullptr, "Unable to load a session");
}

int DBsave(DataBase* dataBase, const char* path) {
    return saveFile(dataBase, {NBOA, NBPL}, path);
}

DataBase* DBload(const char* path) {
    UsedNumbers numbers;
    DataBase* dataBase = loadFile(path, &numbers);
    if (dataBase == nullptr) return nullptr;
    NBOA = numbers.classes;
    NBPL = numbers.levels;
    return dataBase;
}

int copySession(int sessId) {
    if (loadSession(sessId) < 0) return -1;
    const SessionUse use = sessionUse;
    if (beginCopy() < 0) return -1;
    sessionUse = use;
    return openSession();
}
