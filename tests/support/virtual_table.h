// Calls a virtual function by its number, as code compiled against an older header would.
//
// Numbers count declarations: the destructor is one, whatever the compiler makes of it (GCC and
// Clang give it two entries, MSVC one).
#pragma once

namespace orsin::test {

/// Calls slot `number` of an object whose destructor is slot 0.
template <typename Result, typename Object, typename... Arguments>
Result call_virtual(Object* object, int number, Arguments... arguments) {
#if defined(_MSC_VER)
  constexpr int kExtraDestructorEntries = 0;
#else
  constexpr int kExtraDestructorEntries = 1;
#endif
  using Function = Result (*)(Object*, Arguments...);
  void** table = *reinterpret_cast<void***>(object);
  return reinterpret_cast<Function>(table[number + kExtraDestructorEntries])(object, arguments...);
}

}  // namespace orsin::test
