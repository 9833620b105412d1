// The scheduling preset of start-up; the others are public.
#pragma once

namespace orsin {

/// Raises the process to the high priority class and the calling thread above normal, after asking
/// for the privilege to do so. Failures are warnings.
void schedule_for_startup();

/// Forgets the answer of the administrator test, as before start-up. For tests.
void forget_admin_test();

}  // namespace orsin
