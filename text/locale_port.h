// What localisation asks of the library that makes locales. locale_boost.cpp answers.
//
// One locale at a time is installed for the process. Installing and removing are for start-up and
// closedown, while one thread runs; translate() is for any thread in between.
#pragma once

#include "text/locale_name.h"

namespace orsin::port {

/// Chooses how locales are made from now on: by the system's own interface, in every category.
void select_locale_maker() noexcept;

/// Makes the locale of a name ("de_DE.UTF-8"; "" for the user's own) with the gettext catalogues
/// <path>/<locale>/LC_MESSAGES/<domain>.mo, and installs it as the process's global C++ locale.
/// Among the catalogues for language, country and variant the most special sound one is used; a
/// damaged one counts as absent.
///
/// @param parts  Receives what the locale says about itself.
/// @return False when no locale could be made; nothing is installed then.
[[nodiscard]] bool install_locale(const char* path, const char* domain, const char* name,
                                  LocaleParts& parts) noexcept;

/// Ends the installed locale: its texts die with it. The process gets the locale it had before,
/// unless somebody else has installed one meanwhile. The C library's locale is left alone.
void remove_locale() noexcept;

/// The translation by the process's locale as it is now, which lives as long as the installed one;
/// null when there is none.
[[nodiscard]] const char* translate(const char* context, const char* msgid) noexcept;

}  // namespace orsin::port
