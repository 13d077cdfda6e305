/// \file
/// Marks what the shared libraries of the kit export; everything else stays hidden.
///
/// Terms that all public headers use:
///
/// - attached: the object has the shared registry mapped and is counted among its users.
/// - any thread: the entry may be called from several threads at once on one object.
/// - controlling thread: the one thread that constructs, initialises, closes and destroys the
///   object. Entries marked so are never called at the same time as each other.
/// - holder: the thread that acquired a semaphore through a wrapper and has not posted it.
#pragma once

/// In front of a class, function or object: other libraries may use it.
#define NUV_EXPORT __attribute__((visibility("default")))

/// Lets the compiler compare a printf-style format with its arguments (positions count `this`).
#define NUV_PRINTF_FORMAT(format_position, first_argument) \
    __attribute__((format(printf, format_position, first_argument)))
