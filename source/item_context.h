// item_context.h: the item file that the store cipher is working for.
//
// Encrypt and Decrypt get blobs only, but a bound build seals each item for
// its file name. So whoever encrypts or decrypts an item file opens a
// ZelItemContext for it around the call (TZelSecureStore::Load and Store,
// the migration); the bound store cipher reads the innermost one of the
// calling thread. A cipher call outside any context works for the empty
// file name. Unbound builds carry the context and never read it.
//
// Internal to the library (hidden, never installed). A context refers to
// the caller's path string, which must outlive it.
#ifndef ZEL_SOURCE_ITEM_CONTEXT_H
#define ZEL_SOURCE_ITEM_CONTEXT_H

#include <string>

class ZelItemContext {
 public:
  // kAcceptUnbound: a Decrypt in this context gives the plaintext of an
  // unbound file instead of refusing it, and notes that it did (the
  // migration only).
  enum Flags : unsigned { kNone = 0, kAcceptUnbound = 1 };

  explicit ZelItemContext(const std::string& path, unsigned flags = kNone)
      : path_(path), flags_(flags), outer_(current_) {
    current_ = this;
  }
  ~ZelItemContext() { current_ = outer_; }
  ZelItemContext(const ZelItemContext&) = delete;
  ZelItemContext& operator=(const ZelItemContext&) = delete;

  // Current returns the calling thread's innermost context, or nullptr.
  static ZelItemContext* Current() { return current_; }

  const std::string& Path() const { return path_; }

  // FileName returns the bare name of the item file: the path after its
  // last "/".
  std::string FileName() const { return path_.substr(path_.rfind('/') + 1); }

  bool AcceptsUnbound() const { return (flags_ & kAcceptUnbound) != 0; }
  void NoteUnbound() { found_unbound_ = true; }
  bool FoundUnbound() const { return found_unbound_; }

 private:
  static inline thread_local ZelItemContext* current_ = nullptr;

  const std::string& path_;
  const unsigned flags_;
  ZelItemContext* const outer_;
  bool found_unbound_ = false;
};

#endif  // ZEL_SOURCE_ITEM_CONTEXT_H
