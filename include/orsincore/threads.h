/// @file
/// Threads: scheduling, named threads, processor faults as exceptions, the executor that runs one
/// function on every processor, the worker that does things in the background, and observers. The
/// locks, conditions and the clock that they share are in primitives.h.
#pragma once

#include "orsincore/base.h"
#include "orsincore/primitives.h"

// ---------------------------------------------------------------------------------------------
// Scheduling. Each acts on the calling thread; what the system refuses is a warning.
// ---------------------------------------------------------------------------------------------

ORSIN_API void mp_schedule_ndpi();     ///< Process: real-time class. Thread: normal.
ORSIN_API void mp_schedule_highest();  ///< Thread: highest.
ORSIN_API void mp_schedule_high();     ///< Thread: above normal.
ORSIN_API void mp_schedule_low();      ///< Thread: idle, without priority boost.

/// Whether the calling thread belongs to the Administrators group. Tested once a process; the test
/// also enables the privilege to raise priorities where the process has it.
ORSIN_API bool ov_admin_privileges();

// ---------------------------------------------------------------------------------------------
// Named threads
// ---------------------------------------------------------------------------------------------

/// Starts a thread with a stack of 1 MiB.
///
/// A processor fault that nobody in the thread catches as SE_Exception writes a fatal-error block
/// with the thread's name to the log and ends the process with exit code -1. At information level
/// the line before the block names the module and the offset in it where the fault was. The
/// floating-point unit starts in the library's mode.
/// @param name   Shorter than 32 bytes; null or empty means "Unknown". Copied.
/// @param entry  Must not let C++ exceptions other than SE_Exception out. Null ends at once.
/// @return The system's thread identifier, for mp_join_thread() or mp_detach_thread(); 0xFFFFFFFF
///         after an error line when the thread could not be created.
/// Any thread. Windows: CreateThread.
ORSIN_API unsigned int mp_start_thread(const char* name, void (*entry)(void*), void* argument);

/// Waits for a thread to end and forgets it.
///
/// @return 1 when it ended in time. 0 after a warning when it did not (it runs on, forgotten) or
///         the wait failed; 0 at once for an identifier that is not in use.
/// Any thread but the one waited for.
ORSIN_API int mp_join_thread(unsigned int identifier, unsigned int timeout_ms);

/// Forgets a thread without waiting for it. 1, or 0 for an identifier that is not in use.
ORSIN_API int mp_detach_thread(int identifier);

/// The calling thread's name, "Unknown" for a thread that was not started here. Valid until
/// closedown. Any thread.
ORSIN_API const char* mp_get_thread_name();

/// Binds the calling thread to a processor of the processor table: as a preference on an ordinary
/// machine, to the processor's group on one with several groups.
///
/// @return False for an index outside the table, and, after an error line, when the system refuses.
/// Windows: SetThreadIdealProcessorEx, SetThreadGroupAffinity.
ORSIN_API bool mp_set_thread_affinity(int processor);

struct _EXCEPTION_POINTERS;  // The platform's record of a fault (see <excpt.h>).

/// A processor fault, thrown from the faulting instruction.
///
/// Thrown inside threads of mp_start_thread(), and after start-up inside the main thread, through
/// code that was compiled for it (GCC: -fnon-call-exceptions; MSVC: /EHa). The information is valid
/// until the next fault of the same thread.
class ORSIN_API SE_Exception {
 public:
  /// For the library; a host catches what the system threw.
  SE_Exception(unsigned int code, _EXCEPTION_POINTERS* information);
  SE_Exception(const SE_Exception& other);             ///< The same code and information.
  SE_Exception& operator=(const SE_Exception& other);  ///< The same code and information.
  ~SE_Exception();

  /// The fault's code: 0xC0000005 for an access violation, 0xC0000094 for a division by zero.
  [[nodiscard]] unsigned int getSeNumber() const;

  /// Record and processor context of the fault; may be null.
  [[nodiscard]] _EXCEPTION_POINTERS* getSePointers() const;

  /// Kept on purpose: does nothing. Required.
  void DumpFile() const;

 private:
  SE_Exception();

  unsigned int code_ = 0xFFFFFFFF;
  _EXCEPTION_POINTERS* information_ = nullptr;
};

/// A filter for the host's outermost structured exception handler: writes a fatal-error block with
/// the calling thread's name to the log.
///
/// @param information  The platform's exception pointers; not looked at.
/// @return 1: execute the handler.
ORSIN_API int orsinExceptionFilter(int code, void* information);

// ---------------------------------------------------------------------------------------------
// The executor
// ---------------------------------------------------------------------------------------------

/// Calls function(a1 ... a6) once on every worker and returns when all calls have returned.
///
/// The function splits its work by smp_id() and smp_numprocs(). With fewer than two workers it is
/// called once, on the calling thread.
/// @param function  Declared with six pointer arguments and cast to this type. Null does nothing.
/// Any thread that is not a worker; several callers may overlap. Never from inside a job: the call
/// would wait for itself. No time-out. Allocates nothing.
ORSIN_API void smp_exec(void (*function)(), void* a1, void* a2, void* a3, void* a4, void* a5,
                        void* a6);

/// Inside a job its part number, from 0; -1 on a worker between jobs; 0 on any other thread.
ORSIN_API int smp_id();

/// The number of workers, which is the number of parts of every smp_exec().
ORSIN_API int smp_numprocs();

/// 1 inside a job, else 0.
ORSIN_API int smp_is_spawned();

// ---------------------------------------------------------------------------------------------
// Background work
// ---------------------------------------------------------------------------------------------

/// A unit of work that one shared thread, "OV_Worker", does in the background, in the order of the
/// Start() calls.
///
/// Derive, override Run(), construct, Start(). The first object that is constructed starts the
/// worker; the library never owns the objects: each must live until its Run() has returned.
/// A processor fault that leaves Run() ends the process, as in every named thread.
class ORSIN_API OV_Thread {
 public:
  /// Starts the worker if there is none. When the system refuses a thread, an error line says so,
  /// and Start() does nothing until a later object gets one.
  OV_Thread();

  /// Copies nothing, and never starts the worker.
  OV_Thread(const OV_Thread& other);
  OV_Thread& operator=(const OV_Thread& other);  ///< Copies nothing.
  virtual ~OV_Thread();

  /// Queues this object for one Run(); again for another one. At most 64 may be waiting: what is
  /// started beyond that, or without a worker, is dropped without a word. Any thread, Run()
  /// included.
  virtual void Start();

  /// The work, on the worker's thread. This one does nothing.
  virtual void Run();

  /// Returns when everything queued before the call has run; at once without a worker. Any thread,
  /// but never from Run(): the worker would wait for itself.
  static void Flush();

  /// Lets what is queued run, then ends the worker; an object constructed later starts a new one.
  ///
  /// Waits up to 30 seconds. A worker still busy then is left alone, after a warning: it drops
  /// what is queued and ends with the Run() it is in. Closedown calls this. Never from Run().
  static void Destroy();
};

// ---------------------------------------------------------------------------------------------
// Notifications
// ---------------------------------------------------------------------------------------------

class Observable;

namespace orsin {
class Delivery;
}

/// Who is told about changes of an Observable. Derive and override notify().
///
/// An observer does not know its observables: it must be deregistered before it is destroyed, from
/// its own destructor at the latest. Nothing here locks: an observable and its observers belong to
/// one thread at a time.
class ORSIN_API Observer {
 public:
  /// What happened: a type and who says so.
  class ORSIN_API Notification {
   public:
    /// @param type  Bits: 0x20000000 "Attach", 0x40000000 "Detach", 0x80000000 "Dying"; the others
    ///        are the application's.
    explicit Notification(unsigned int type);
    Notification(const Notification& other);             ///< Type and sender.
    Notification& operator=(const Notification& other);  ///< Type and sender.
    virtual ~Notification();

    [[nodiscard]] unsigned int type() const;  ///< As given.

    /// Who delivered it; null before.
    [[nodiscard]] Observable* sender() const;

    /// Writes the names of the three named bits that are set, one after the other ("AttachDying"),
    /// or "Unknown".
    ///
    /// @param buffer  At least 18 bytes; null takes nothing.
    /// @return `buffer`.
    char* type_name(char* buffer) const;

   private:
    friend class orsin::Delivery;

    unsigned int type_;
    Observable* sender_ = nullptr;
  };

  Observer();
  Observer(const Observer& other);             ///< A copy is as muted as its source.
  Observer& operator=(const Observer& other);  ///< Takes the muting over.
  virtual ~Observer();

  /// Called for every delivery, on the observable's thread.
  ///
  /// May register and deregister any observer, this one included, and then even destroy it; must
  /// not destroy the sender. An update_observers() of the sender from here reaches nobody.
  /// @return True when it dealt with the notification; the sender counts that.
  virtual bool notify(Notification& notification) = 0;

  /// Mutes this observer, for deliveries by type only; each call needs an enable of its own.
  void disableObserverNotifications();

  /// Undoes one disable; without one it does nothing.
  void enableObserverNotifications();

  /// Whether it is not muted.
  [[nodiscard]] bool getObserverNotificationsEnabled() const;

 private:
  unsigned int disable_count_ = 0;
};

/// What others watch. Derive, let watchers register, and call update_observers() after a change.
///
/// Places in the list never move while observers come and go: one that leaves makes room for the
/// next that comes. Owns no observer. One thread at a time.
class ORSIN_API Observable {
 public:
  Observable();

  /// Copies the list, the disable count and whether a delivery is running.
  Observable(const Observable& other);
  Observable& operator=(const Observable& other);  ///< As the copy constructor.

  /// Delivers "Dying" (0x80000000), muted or not.
  virtual ~Observable();

  /// Adds an observer that is not in the list yet, in the last empty place or else at the end. Null
  /// does nothing.
  /// Memory shortage is one error line, and the observer is not added.
  void register_observer(Observer* observer);

  /// Takes an observer out; one that is not in the list does nothing.
  void deregister_observer(Observer* observer);

  /// Drops the empty places at the end of the list, and its memory when nothing is left.
  void trim_observer_list();

  /// Calls the observers from the last place to the first. An observer taken out meanwhile is not
  /// called any more; one added meanwhile is called if its place is still to come.
  ///
  /// Delivers nothing while a delivery of this observable is running, or while it is muted. By
  /// type, "Dying" (exactly 0x80000000) passes a muted observable, and muted observers are left
  /// out; with a notification of the caller's, which receives its sender, neither is the case.
  /// @return How many observers answered true.
  int update_observers(unsigned int type);

  /// The same with a notification of the caller's, muted observers included.
  int update_observers(Observer::Notification& notification);

  /// Mutes this observable; each call needs an enable of its own.
  void disableNotifications();

  /// Undoes one disable; without one it does nothing.
  void enableNotifications();

  /// Whether it is not muted.
  [[nodiscard]] bool getNotificationsEnabled() const;

  /// The list's length, empty places included.
  [[nodiscard]] int getNumObservers() const;

 private:
  friend class orsin::Delivery;

  ov_vector<Observer*> observers_;
  unsigned int disable_count_ = 0;
  unsigned int update_depth_ = 0;
};
