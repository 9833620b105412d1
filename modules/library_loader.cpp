// The library loader: plug-ins and supporting modules, opened by name and shared by count.
//
// `loader.mutex` guards the table and is held during a load, so a name that two threads open at the
// same time is loaded once. It is recursive, as a library may open another while it initialises.
// The system's own loader lock is inside of it: what a library does from there must not wait for a
// thread that opens one.
//
// Records stand in load order; a handle that goes by two names has a record for each.
//
// Started and stopped by start-up and closedown while one thread runs.
#include "modules/library_loader.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "base/given_text.h"
#include "base/library_locks.h"
#include "base/path_buffer.h"
#include "base/process_wide.h"
#include "base/system_error_text.h"
#include "modules/error_boxes.h"
#include "modules/library_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/modules.h"
#include "orsincore/processors.h"
#include "orsincore/threads.h"
#include "threads/fault_guard.h"

namespace orsin {
namespace {

constexpr int kFirstRoom = 128;  // Records, so that no plug-in waits for the table to grow.
constexpr int kUseOwnDirectory = 1;
constexpr double kSlowSeconds = 1.0;

constexpr int kNotRun = -1;
constexpr int kThrew = -2;

static_assert(offsetof(lib_entry, name) == 0);
static_assert(offsetof(lib_entry, module) == 264);
static_assert(offsetof(lib_entry, reference_count) == 272);

struct Loader {
  LibraryMutex mutex{LockRank::kLibraryLoader};
  ov_vector<lib_entry> libraries ORSIN_GUARDED_BY(mutex);
};

Loader& loader() {
  return process_wide<Loader>();
}

constinit std::atomic<const char*> main_entry = nullptr;

// Libraries beside a path are found as long as this lives; then those are that the host had named.
class OwnDirectory {
 public:
  OwnDirectory(const char* path, bool is_wanted) {
    const SplitPath split = split_path(path);
    if (!is_wanted || !split.has_directory) {
      return;
    }
    try {
      hosts_ = port::library_directory();
    } catch (const std::bad_alloc&) {
      return;  // The load may still go well, and the host's must not be lost.
    }
    PathBuffer directory(path);
    directory.truncate(split.directory.size() + 1);  // "C:" alone would be another directory.
    port::set_library_directory(directory.c_str());
    is_set_ = true;
  }
  ~OwnDirectory() {
    if (is_set_) {
      port::restore_library_directory(hosts_);
    }
  }
  OwnDirectory(const OwnDirectory&) = delete;
  OwnDirectory& operator=(const OwnDirectory&) = delete;

 private:
  std::wstring hosts_;
  bool is_set_ = false;
};

// What a library may have done to the thread while it initialised.
void check_fpu_mode(const char* name) {
  if (!fpu_check() && msgdebug("FPU setup changed un-expected after loading:") != 0) {
    msgcont("    '%s'", name);
  }
}

lib_entry* find_locked(Loader& state, const char* name) ORSIN_REQUIRES(state.mutex) {
  for (int i = state.libraries.count() - 1; i >= 0; --i) {
    if (std::strcmp(state.libraries[i].name, name) == 0) {
      return &state.libraries[i];
    }
  }
  return nullptr;
}

void* load_locked(Loader& state, const char* name, int flags) ORSIN_REQUIRES(state.mutex) {
  const double started = mp_getclock();
  char path[kPathBytes];
  const bool is_file = file_find(name, path) != 0;
  if (!is_file) {
    std::snprintf(path, sizeof(path), "%s", name);
  }

  // While another directory is searched the current one is not: such a path would lead nowhere.
  const bool uses_own_directory = (flags & kUseOwnDirectory) != 0;
  if (uses_own_directory && is_file && !port::absolute_path(path, path, sizeof(path))) {
    std::snprintf(path, sizeof(path), "%s", name);
  }

  const OwnDirectory own_directory(path, uses_own_directory);
  const unsigned error_mode = port::error_mode();
  void* module = port::load_library(path);
  if (module == nullptr) {
    // A library that is nowhere is no news: hosts try names to see what is installed.
    if (is_file && msgwarn("Can't open module: '%s'", name) != 0) {
      msgcont("%s", SystemErrorText().c_str());
    }
    silence_error_boxes(error_mode);
    return nullptr;
  }
  port::silence_thread_notices(module);
  lib_entry entry = {};
  std::snprintf(entry.name, sizeof(entry.name), "%s", name);
  entry.module = module;
  entry.reference_count = 1;
  if (!state.libraries.append(entry)) {
    port::unload_library(module);
    silence_error_boxes(error_mode);
    return nullptr;
  }
  check_fpu_mode(name);
  silence_error_boxes(error_mode);  // The library may have turned them on.
  const double seconds = mp_getclock() - started;
  if (seconds > kSlowSeconds) {
    msgwarn("Library loader took %.3f for: %s", seconds, path);
  }
  return module;
}

// A library's own clean-up may close others, so nothing in the table may be relied on afterwards.
void drop_reference_locked(Loader& state, int index) ORSIN_REQUIRES(state.mutex) {
  lib_entry& entry = state.libraries[index];
  if (--entry.reference_count == 0) {
    void* module = entry.module;
    state.libraries.remove(index);
    port::unload_library(module);
  }
}

// ---------------------------------------------------------------------------------------------
// Running an entry point
// ---------------------------------------------------------------------------------------------

struct EntryCall {
  int (*entry)(int, char**);
  int argc;
  char** argv;
  int result;
};

void call_entry(void* argument) {
  auto* call = static_cast<EntryCall*>(argument);
  call->result = call->entry(call->argc, call->argv);
}

int run_entry(void* entry, int argc, char** argv) {
  EntryCall call = {reinterpret_cast<int (*)(int, char**)>(entry), argc, argv, kThrew};
  return run_shielded(call_entry, &call) ? call.result : kThrew;
}

}  // namespace

void start_library_loader() {
  Loader& state = loader();
  state.mutex.create();
  const ScopedLock guard(state.mutex);
  static_cast<void>(state.libraries.ensure(kFirstRoom));  // It grows later if it must.
}

// Kept on purpose: a library opened several times and left open stays loaded. Its users may still
// hold pointers into it while the process ends.
void stop_library_loader() {
  Loader& state = loader();
  const ScopedLock guard(state.mutex);
  for (int i = state.libraries.count() - 1; i >= 0; --i) {
    if (i < state.libraries.count()) {
      drop_reference_locked(state, i);
    }
  }
  state.libraries.release();
}

}  // namespace orsin

using namespace orsin;

void* ov_open_library(const char* name, int flags) {
  if (name == nullptr || *name == '\0' || std::strlen(name) >= kPathBytes) {
    return nullptr;
  }
  Loader& state = loader();
  const ScopedLock guard(state.mutex);
  if (lib_entry* entry = find_locked(state, name)) {
    ++entry->reference_count;
    return entry->module;
  }
  return load_locked(state, name, flags);
}

void ov_close_library(void* module, bool /*reserved*/) {
  Loader& state = loader();
  const ScopedLock guard(state.mutex);
  for (int i = state.libraries.count() - 1; i >= 0; --i) {
    if (state.libraries[i].module == module) {
      drop_reference_locked(state, i);
      return;
    }
  }
}

void* ov_resolve_symbol(void* module, const char* symbol) {
  return module != nullptr && symbol != nullptr ? port::find_symbol(module, symbol) : nullptr;
}

int ov_rundll(const char* module, const char* entry, int argc, char** argv) {
  main_entry.store(entry, std::memory_order_relaxed);
  PathBuffer name;
  if (module == nullptr || !name.append(module) || !name.append(".dll")) {
    return kNotRun;
  }
  void* library = ov_open_library(name.c_str(), 0);
  if (library == nullptr) {
    return kNotRun;
  }
  int result = kNotRun;
  if (void* address = ov_resolve_symbol(library, entry)) {
    result = run_entry(address, argc, argv);
  } else {
    msgerror("RUNDLL: Entry '%s' not found", given(entry));
  }
  ov_close_library(library, false);
  return result;
}

const char* ov_get_main_dll_entry_name() {
  return main_entry.load(std::memory_order_relaxed);
}
