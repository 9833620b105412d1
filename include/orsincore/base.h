/// @file
/// What every public header of OrsinCore shares: the export macro, the opaque handles, and the two
/// containers that appear in exported layouts.
///
/// Conventions of the whole interface
///   - Strings are NUL-terminated UTF-8; paths are at most 260 bytes with the terminator.
///   - Nothing throws across the interface. A failure is a return value; its reason is in the log.
///   - Times given to waits are nanoseconds, used as whole milliseconds.
///   - Whoever creates a thing through ..._new, ..._create, Create or open releases it through the
///     matching ..._delete, ..._destroy, Destroy or close.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

/// @def ORSIN_API
/// Marks what the DLL exports. ORSIN_BUILDING: compiling the library itself. ORSIN_STATIC: linking
/// its objects directly.
#if defined(ORSIN_STATIC) || !defined(_WIN32)
#define ORSIN_API
#elif defined(ORSIN_BUILDING)
#define ORSIN_API __declspec(dllexport)
#else
#define ORSIN_API __declspec(dllimport)
#endif

/// @def ORSIN_PRINTF
/// Lets the compiler check a printf format against its arguments; positions count from 1.
#if defined(__MINGW32__) && !defined(__clang__)
#define ORSIN_PRINTF(position, first) __attribute__((format(gnu_printf, position, first)))
#elif defined(__GNUC__)
#define ORSIN_PRINTF(position, first) __attribute__((format(printf, position, first)))
#else
#define ORSIN_PRINTF(position, first)
#endif

struct __mutex_str;    // A recursive mutex: mp_new_mutex() and mp_delete_mutex().
struct __cond_str;     // A condition variable: mp_new_cond_block() and mp_delete_cond_block().
struct __tls_key_str;  // A thread-local cell: mp_key_create() and mp_key_delete().

/// @cond the few functions that the containers below call; documented in log.h and threads.h
ORSIN_API int msgerror(const char* format, ...) ORSIN_PRINTF(1, 2);
ORSIN_API __mutex_str* mp_new_mutex(int locked, unsigned int reserved);
ORSIN_API void mp_delete_mutex(__mutex_str* mutex);
ORSIN_API int mp_get_mutex(__mutex_str* mutex);
ORSIN_API int mp_release_mutex(__mutex_str* mutex);
/// @endcond

/// A growable array of trivially copyable elements.
///
/// The capacity is 16 at first, doubles while the count is below 1024, and is from then on the
/// count rounded up to a multiple of 128. A growth that fails writes one error line, returns false
/// and leaves the array as it was. Not locked: one thread at a time, or the owner's lock.
template <typename T>
class ov_vector {
  static_assert(std::is_trivially_copyable_v<T>, "elements move by realloc");

 public:
  ov_vector() = default;
  /// Copies the elements; empty after an error line when there is no memory for them.
  ov_vector(const ov_vector& other) { assign(other); }
  /// The same over what it held.
  ov_vector& operator=(const ov_vector& other) {
    if (this != &other) {
      count_ = 0;
      assign(other);
    }
    return *this;
  }
  virtual ~ov_vector() { std::free(entries_); }

  /// Elements held.
  [[nodiscard]] int count() const { return static_cast<int>(count_); }
  /// Elements that fit without growing.
  [[nodiscard]] int capacity() const { return static_cast<int>(capacity_); }
  /// Whether it holds nothing.
  [[nodiscard]] bool empty() const { return count_ == 0; }
  /// The first element; null until something was appended. Valid until the array grows.
  [[nodiscard]] T* data() { return entries_; }
  /// @copydoc data()
  [[nodiscard]] const T* data() const { return entries_; }
  /// An element by its index, which is not checked.
  T& operator[](int index) { return entries_[index]; }
  /// @copydoc operator[]()
  const T& operator[](int index) const { return entries_[index]; }
  /// Iteration in order of the indices.
  T* begin() { return entries_; }
  /// Behind the last element.
  T* end() { return entries_ + count_; }
  /// @copydoc begin()
  const T* begin() const { return entries_; }
  /// @copydoc end()
  const T* end() const { return entries_ + count_; }

  /// Makes room for `added` more elements. False, after one error line, when memory is short.
  [[nodiscard]] bool ensure(int added) {
    const std::uint64_t needed = std::uint64_t{count_} + static_cast<std::uint32_t>(added);
    if (needed <= capacity_) {
      return true;
    }
    const std::uint64_t capacity = grown_capacity(needed);
    void* grown = capacity > kCapacityMax
                      ? nullptr
                      : std::realloc(static_cast<void*>(entries_),
                                     static_cast<std::size_t>(capacity * sizeof(T)));
    if (grown == nullptr) {
      msgerror("Vector ensure: Not enough memory..(%d + %d * %d)", static_cast<int>(count_), added,
               static_cast<int>(sizeof(T)));
      return false;
    }
    entries_ = static_cast<T*>(grown);
    capacity_ = static_cast<std::uint32_t>(capacity);
    return true;
  }

  /// Appends one element; false when the array could not grow.
  [[nodiscard]] bool append(const T& element) {
    const T copy = element;  // The element may live in this very array.
    if (!ensure(1)) {
      return false;
    }
    entries_[count_++] = copy;
    return true;
  }

  /// Removes one element; the later ones move down, so their order stays.
  void remove(int index) {
    const std::size_t after = count_ - static_cast<std::uint32_t>(index) - 1;
    std::memmove(static_cast<void*>(entries_ + index),
                 static_cast<const void*>(entries_ + index + 1), after * sizeof(T));
    --count_;
  }

  /// Drops elements from the end; the capacity stays.
  void truncate(int count) { count_ = static_cast<std::uint32_t>(count); }

  /// Drops every element and gives the memory back.
  void release() {
    std::free(entries_);
    entries_ = nullptr;
    count_ = 0;
    capacity_ = 0;
  }

 private:
  static constexpr std::uint64_t kCapacityMax = 0x7FFFFFFF;  // Counts cross the interface as int.

  [[nodiscard]] std::uint64_t grown_capacity(std::uint64_t needed) const {
    if (needed >= 1024) {
      return (needed + 127) & ~std::uint64_t{127};
    }
    std::uint64_t capacity = capacity_ < 16 ? 16 : std::uint64_t{capacity_} * 2;
    while (capacity < needed) {
      capacity *= 2;
    }
    return capacity;
  }

  void assign(const ov_vector& other) {
    if (other.count_ != 0 && ensure(other.count())) {
      std::memcpy(static_cast<void*>(entries_), static_cast<const void*>(other.entries_),
                  other.count_ * sizeof(T));
      count_ = other.count_;
    }
  }

  T* entries_ = nullptr;
  std::uint32_t count_ = 0;
  std::uint32_t capacity_ = 0;
};

/// A bounded ring of trivially copyable entries with its own mutex.
///
/// A push into a full ring is dropped and returns false: callers bound what they have outstanding.
/// A ring whose memory could not be had has capacity 0: nothing can be pushed. Any thread.
template <typename T>
class ov_queue {
  static_assert(std::is_trivially_copyable_v<T>, "entries are copied by value");

 public:
  /// A ring with room for `capacity` entries; for none when that is negative, or there is no memory
  /// for them.
  explicit ov_queue(int capacity) : mutex_(mp_new_mutex(0, 0)), entries_(allocate(capacity)) {
    capacity_ = mutex_ != nullptr && entries_ != nullptr ? capacity : 0;
  }
  ov_queue(const ov_queue&) = delete;
  ov_queue& operator=(const ov_queue&) = delete;
  virtual ~ov_queue() {
    delete[] entries_;
    mp_delete_mutex(mutex_);
  }

  /// False when the ring was full and the entry was dropped.
  bool push(const T& entry) {
    return push_each(1, [&entry] { return entry; }) == 1;
  }

  /// Pushes up to `count` entries under one lock, each as make() gives it. make() is called for those
  /// alone that have room; it must not call the ring, nor throw. Returns their number.
  template <typename Make>
  int push_each(int count, Make make) {
    mp_get_mutex(mutex_);
    int pushed = 0;
    for (; pushed < count && count_ < capacity_; ++pushed) {
      entries_[write_] = make();
      write_ = (write_ + 1) % capacity_;
      ++count_;
    }
    mp_release_mutex(mutex_);
    return pushed;
  }

  /// Takes the oldest entry; false when the ring is empty.
  bool take(T& entry) {
    mp_get_mutex(mutex_);
    const bool has_entry = count_ > 0;
    if (has_entry) {
      entry = entries_[read_];
      read_ = (read_ + 1) % capacity_;
      --count_;
    }
    mp_release_mutex(mutex_);
    return has_entry;
  }

  /// Entries that wait.
  [[nodiscard]] int count() const {
    mp_get_mutex(mutex_);
    const int count = count_;
    mp_release_mutex(mutex_);
    return count;
  }
  /// Entries that have room.
  [[nodiscard]] int capacity() const { return capacity_; }

 private:
  // Asked for more bytes than there can be, even this `new` throws.
  static T* allocate(int capacity) {
    constexpr std::size_t kEntriesMax = PTRDIFF_MAX / sizeof(T);
    const auto entries = static_cast<std::size_t>(capacity);
    return capacity > 0 && entries <= kEntriesMax ? new (std::nothrow) T[entries] : nullptr;
  }

  __mutex_str* mutex_;
  int capacity_ = 0;
  int count_ = 0;
  int write_ = 0;
  int read_ = 0;
  T* entries_;
};
