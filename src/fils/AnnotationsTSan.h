#pragma once

// Qt is not built with ThreadSanitizer, so its mutexes, conditions and thread joins are invisible
// to it. Under -fsanitize=thread these annotations tell it where our wrappers synchronise;
// otherwise they compile to nothing.
#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* adresse);
extern "C" void __tsan_release(void* adresse);
#define OUTILS_SOCLE_TSAN_ACQUIERT(adresse) \
  __tsan_acquire(const_cast<void*>(static_cast<const void*>(adresse)))
#define OUTILS_SOCLE_TSAN_LIBERE(adresse) __tsan_release(const_cast<void*>(static_cast<const void*>(adresse)))
#else
#define OUTILS_SOCLE_TSAN_ACQUIERT(adresse) ((void)(adresse))
#define OUTILS_SOCLE_TSAN_LIBERE(adresse) ((void)(adresse))
#endif
