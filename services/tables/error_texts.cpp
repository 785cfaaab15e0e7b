// The error-text table. Its lock is the leaf: nothing that may record an error, load or wait
// happens under it, so the runtime is asked for a text before the lock is taken.
#include "services/tables/error_texts.h"

#include <tuple>
#include <utility>

#include "kernel/base/process_wide.h"
#include "platform/runtime_text.h"
#include "services/tables/id_text_table.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

using ErrorTexts = SharedTextTable<Descending, 16>;

ProcessWide<ErrorTexts> g_errors;

TextFound copy_out(const IdText& entry, qm_wchar* buffer, std::size_t length) {
  wcs_copy_bounded(buffer, static_cast<std::ptrdiff_t>(length), entry.text);
  if (entry.text == nullptr) return TextFound::none;
  return *entry.text == 0 ? TextFound::empty : TextFound::text;
}

// Asks the runtime for the text of an unknown code, and adds it to the table if memory allows.
TextFound learn(ErrorTexts& errors, std::int32_t code, qm_wchar* buffer, std::size_t length) {
  constexpr std::size_t kRuntimeTextSize = 256;
  char narrow[kRuntimeTextSize];
  platform::runtime_error_text(code, narrow, sizeof narrow);
  *buffer = 0;
  if (*narrow == 0) return TextFound::none;

  qm_wchar words[kRuntimeTextSize];
  mbs_to_wcs(words, kRuntimeTextSize, narrow);
  const WriteGuard guard(errors.lock);
  if (const IdText* known = errors.entries.find(code)) return copy_out(*known, buffer, length);
  OwnedText kept = copy_text(words);
  if (kept) std::ignore = errors.entries.insert(code, std::move(kept));
  return copy_out({code, words}, buffer, length);
}

}  // namespace

bool error_texts_create() { return g_errors.create(LockRank::error_texts); }

void error_texts_destroy() { g_errors.destroy(); }

bool error_texts_set(std::int32_t code, const qm_wchar* text) {
  ErrorTexts* errors = g_errors.get();
  if (errors == nullptr) return false;
  const WriteGuard guard(errors->lock);
  if (IdText* known = errors->entries.find(code)) return errors->entries.replace(*known, text);
  OwnedText copy;
  if (text != nullptr && !(copy = copy_text(text))) return false;
  return errors->entries.insert(code, std::move(copy));
}

TextFound error_texts_lookup(std::int32_t code, qm_wchar* buffer, std::size_t length) {
  *buffer = 0;
  ErrorTexts* errors = g_errors.get();
  if (errors == nullptr) return TextFound::no_table;
  {
    const ReadGuard guard(errors->lock);
    if (const IdText* known = errors->entries.find(code)) return copy_out(*known, buffer, length);
  }
  return learn(*errors, code, buffer, length);
}

bool error_texts_claim_loading() {
  ErrorTexts* errors = g_errors.get();
  return errors != nullptr && errors->claim_loading();
}

}  // namespace qmsd
