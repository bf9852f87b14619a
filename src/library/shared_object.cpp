// Start and end of the shared object, with its loading and the end of the process. This object stands last on the link
// line, so that the start runs after every other constructor and the end before every destructor.
#include "start/library.h"

namespace {

struct LibraryLife {
  LibraryLife() noexcept { tlr2::LibraryStart(); }
  ~LibraryLife() { tlr2::LibraryEnd(); }
};

LibraryLife life;

}  // namespace
