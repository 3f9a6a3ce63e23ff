/* The logging interface that the library calls: three printf-style functions.
 *
 * libpellix.so is the default. A host that logs in its own way defines the three functions itself
 * in its executable (or in a library that is loaded before libpellix.so); the library then calls
 * those.
 *
 * Each call is one message without a final line end (a message may hold line ends of its own).
 * The results are ignored by the library; the default returns the length of the formatted text, or
 * a negative value when the format could not be applied. The functions may be called from several
 * threads at once.
 *
 * The default writes errors to standard error, each after the time and the kind:
 *   2024-05-17 09:30:00.125 error: MultiLayerCoeff::Save--Error :: coeff is empty.
 * Two environment variables, read once at the first message, change that:
 *   PELLIX_LEVEL   "off", "error" (default), "info" or "debug": the least severe kind that is
 *                  written; "info" adds info messages to the errors, "debug" adds all.
 *   PELLIX_FILE    the name of a file to which messages are appended instead of standard error. A
 *                  message that it does not take goes to standard error, with the reason.
 */
#ifndef PELLIX_PELLIX_H
#define PELLIX_PELLIX_H

#if defined(__GNUC__)
#define PELLIX_PRINTF __attribute__((format(printf, 1, 2)))
#define PELLIX_EXPORT __attribute__((visibility("default")))
#else
#define PELLIX_PRINTF
#define PELLIX_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A failure: what was refused, and why. */
PELLIX_EXPORT int PellixError(const char* format, ...) PELLIX_PRINTF;

/* A dump of state that was asked for. */
PELLIX_EXPORT int PellixDebug(const char* format, ...) PELLIX_PRINTF;

/* The name of an operation on entry. */
PELLIX_EXPORT int PellixInfo(const char* format, ...) PELLIX_PRINTF;

#ifdef __cplusplus
}
#endif

#endif /* PELLIX_PELLIX_H */
