// A settings store of the test program's own, filled by each test.
#pragma once

#include <cstdint>
#include <string>

namespace tlr2::test {

/// Points the process at an empty store; called once before any test.
void UseOwnStore();
/// Removes the store wholly.
void RemoveStore();
bool StoreExists();
/// Stores a text where a number belongs.
void StoreText(const char* name, const char* text);

}  // namespace tlr2::test
