// Storage of the thread's block; the header reaches it without a call.
#include "platform/thread_block.h"

namespace tlr2::detail {

constinit thread_local ThreadGuard threadGuard{};

}  // namespace tlr2::detail
