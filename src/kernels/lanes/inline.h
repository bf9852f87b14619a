// What each lane function is: inlined wherever it is used, so that no copy of it exists outside its target's object.
#pragma once

#define LANE_FN [[gnu::always_inline]] inline
