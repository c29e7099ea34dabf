#include "session/sqlite.h"

#include <dlfcn.h>

#include <mutex>

#include "error/error.h"

#define ERROR_SOURCE "session/journal.c"

// The oldest versions of these two, which glibc of any age has: newer ones would keep the
// library from loading on older systems. Where they are in a library of their own that
// nothing has loaded, they are null.
#if defined(__x86_64__) && defined(__GLIBC__)
#define KAVRIL_OLDEST "GLIBC_2.2.5"
#elif defined(__aarch64__) && defined(__GLIBC__)
#define KAVRIL_OLDEST "GLIBC_2.17"
#endif
#ifdef KAVRIL_OLDEST
extern "C" {
[[gnu::weak]] void* kavrilDlopen(const char* name, int flags);
[[gnu::weak]] void* kavrilDlsym(void* library, const char* name);
}
__asm__(".symver kavrilDlopen, dlopen@" KAVRIL_OLDEST);
__asm__(".symver kavrilDlsym, dlsym@" KAVRIL_OLDEST);
static bool canLoad() {
    return kavrilDlopen != nullptr && kavrilDlsym != nullptr;
}
#else
constexpr auto kavrilDlopen = dlopen;
constexpr auto kavrilDlsym = dlsym;
static bool canLoad() {
    return true;
}
#endif

namespace {

Sqlite functions = {};

template <class Function>
bool find(void* library, const char* name, Function* function) {
    *function = reinterpret_cast<Function>(kavrilDlsym(library, name));
    return *function != nullptr;
}

bool load() {
    if (!canLoad()) return false;
    void* library = kavrilDlopen("libsqlite3.so.0", RTLD_NOW | RTLD_LOCAL);
    return library != nullptr && find(library, "sqlite3_open_v2", &functions.open) &&
           find(library, "sqlite3_close", &functions.close) &&
           find(library, "sqlite3_exec", &functions.exec) &&
           find(library, "sqlite3_prepare_v2", &functions.prepare) &&
           find(library, "sqlite3_step", &functions.step) &&
           find(library, "sqlite3_reset", &functions.reset) &&
           find(library, "sqlite3_finalize", &functions.finalize) &&
           find(library, "sqlite3_bind_blob64", &functions.bindBlob) &&
           find(library, "sqlite3_column_blob", &functions.columnBlob) &&
           find(library, "sqlite3_column_bytes", &functions.columnBytes) &&
           find(library, "sqlite3_column_int64", &functions.columnNumber) &&
           find(library, "sqlite3_errmsg", &functions.message) &&
           find(library, "sqlite3_wal_checkpoint_v2", &functions.checkpoint);
}

}  // namespace

const Sqlite* loadSqlite() {
    // Tried again if it failed: somebody may have installed it.
    static std::mutex lock;
    static bool isLoaded = false;
    const std::lock_guard<std::mutex> guard(lock);
    if (!isLoaded) isLoaded = load();
    if (isLoaded) return &functions;
    return FAIL_WITH(nullptr,
                     "It needs SQLite: libsqlite3.so.0, of the package libsqlite3-0");
}
