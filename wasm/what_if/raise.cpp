// Exceptions end the call that they are thrown in: the module's standard library was
// built without them, so nothing unwinds the stack. Their message becomes that of an
// exception of JavaScript; the instance is of no use from then on.
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <typeinfo>

extern "C" [[noreturn, clang::import_module("page"), clang::import_name("raise")]] void
pageRaise(const char* message, std::size_t length);

namespace {

[[noreturn]] void raise(const char* message) {
    pageRaise(message, std::strlen(message));
}

}  // namespace

extern "C" void* __cxa_allocate_exception(std::size_t size) noexcept {
    return std::malloc(size);
}

extern "C" void __cxa_free_exception(void* thrown) noexcept {
    std::free(thrown);
}

// Everything that is thrown here has std::exception as its first and only base.
extern "C" [[noreturn]] void __cxa_throw(void* thrown, std::type_info*, void (*)(void*)) {
    raise(static_cast<std::exception*>(thrown)->what());
}

// For whoever asks for memory: the core would otherwise report an error, which the
// workbench takes for a refusal.
void memoryHasEnded() {
    raise("There is not enough memory");
}
