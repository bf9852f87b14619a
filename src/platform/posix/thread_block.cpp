// Storage of the thread's block; the header reaches it without a call.
#include "platform/thread_block.h"

namespace tlr2 {

namespace detail {
constinit thread_local ThreadGuard threadGuard{};
}  // namespace detail

#if defined(__SANITIZE_ADDRESS__)
ThreadGuard& CurrentThreadGuard() noexcept { return detail::threadGuard; }
#endif

}  // namespace tlr2
