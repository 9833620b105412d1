// Localisation from start-up to closedown: where the catalogues are, which language it shall be.
//
//   <locale>/languages                            the list of languages
//   <locale>/<language>/LC_MESSAGES/korvane.mo    the texts of one
//   Settings/language.cfg                         the user's choice, in a settings directory
//
// Started and stopped on the host's main thread while no other runs; in between it only reads.
#pragma once

#include "text/language_list.h"

namespace orsin {

/// Finds the locale directory and, when there is one, reads the list of languages and the user's
/// choice and installs the locale. Without it one error line says so, and texts stay untranslated.
void start_localisation() noexcept;

/// Frees the list of languages and ends the locale.
void stop_localisation() noexcept;

/// The languages as start-up read them; null before start-up and without a locale directory.
[[nodiscard]] const LanguageList* languages();

}  // namespace orsin
