// Start and end of the shared object with its loading and unloading. Both run inside all static construction: the
// start after every constructor of default priority, the end before every destructor.
#include "start/library.h"

namespace {

struct LibraryLife {
  LibraryLife() noexcept { tlr2::LibraryStart(); }
  ~LibraryLife() { tlr2::LibraryEnd(); }
};

__attribute__((init_priority(65535))) LibraryLife life;

}  // namespace
