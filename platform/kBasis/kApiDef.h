/**
 * @file    kApiDef.h
 * @brief   Scalar types, status codes, null values and export macros of the foundation library.
 *
 * Every other header of the platform and of the library includes this one first.
 */
#ifndef K_BASIS_API_DEF_H
#define K_BASIS_API_DEF_H

#include <cstddef>
#include <cstdint>
#include <cstdarg>

#if defined(_WIN32)
#    define kEXPORT_ATTR __declspec(dllexport)
#else
#    define kEXPORT_ATTR __attribute__((visibility("default")))
#endif

/** Exported, C-linkage operation of the foundation and platform libraries. */
#define kFx(TYPE) extern "C" kEXPORT_ATTR TYPE
/** Exported, C++-linkage symbol (templates, overloaded helpers). */
#define kCppFx(TYPE) kEXPORT_ATTR TYPE

/* Scalar types. */
typedef uint8_t k8u;
typedef int8_t k8s;
typedef uint16_t k16u;
typedef int16_t k16s;
typedef uint32_t k32u;
typedef int32_t k32s;
typedef uint64_t k64u;
typedef int64_t k64s;
typedef float k32f;
typedef double k64f;
typedef uint8_t kByte;
typedef char kChar;
typedef size_t kSize;
typedef ptrdiff_t kSSize;
typedef k32s kBool;
typedef void* kPointer;
typedef void kVoid;
/** Generic function pointer, used where a registration stores an operation of any signature. */
typedef void (*kFunction)(void);

#define kTRUE (1)
#define kFALSE (0)
#define kNULL (nullptr)

/** Result of nearly every operation: 1 is success, everything else a failure. */
typedef k32s kStatus;

#define kSTATUS_OK (1)                  ///< Success.
#define kSTATUS_FAILED (0)              ///< Generic failure.
#define kSTATUS_BAD_STATE (-1000)       ///< Operation called in the wrong state.
#define kSTATUS_NOT_FOUND (-999)        ///< A named item, file or value does not exist.
#define kSTATUS_ASSERT (-998)           ///< An internal consistency check failed.
#define kSTATUS_BAD_PARAMETER (-997)    ///< An argument is out of range or inconsistent.
#define kSTATUS_NOT_IMPLEMENTED (-996)  ///< The class does not offer the operation.
#define kSTATUS_MEMORY (-994)           ///< Out of memory.
#define kSTATUS_TIMEOUT (-993)          ///< A wait timed out (not an error to most callers).
#define kSTATUS_INCOMPLETE (-992)       ///< Data is short or counts do not match.
#define kSTATUS_STREAM (-991)           ///< A stream or file operation failed.
#define kSTATUS_CLOSED (-990)           ///< The stream, queue or connection is closed.
#define kSTATUS_BAD_VERSION (-989)      ///< A stored record has a version this code does not read.
#define kSTATUS_OVERFLOW (-988)         ///< A computed block or index runs past the end of the data.
#define kSTATUS_DUPLICATE (-987)        ///< An item being added already exists.
#define kSTATUS_BAD_FORMAT (-984)       ///< Content has the wrong type or layout.
#define kSTATUS_CONFLICT (-980)         ///< Two descriptions that must agree do not.
#define kSTATUS_NO_SOLUTION (-975)      ///< A numerical problem cannot be solved.

#define kOK kSTATUS_OK

/** True for success (exactly 1). */
inline constexpr bool kSuccess(kStatus status) { return status == kSTATUS_OK; }
/** True for any failure (anything but 1). */
inline constexpr bool kIsError(kStatus status) { return status != kSTATUS_OK; }

/* Null values, used wherever a sample can be missing. */
#define k16S_NULL (-32768)
#define k32S_NULL (-2147483647 - 1)
#define k32U_NULL (4294967295u)
#define k32F_NULL (-3.4028235e38f)
#define k64F_NULL (-1.7976931348623157e308)
#define k24U_NULL (16777215u)
#define k8U_MAX (255)
#define k16S_MAX (32767)
#define k16S_MIN (-32768)
#define k16U_MAX (65535)
#define k32S_MAX (2147483647)
#define k32S_MIN (-2147483647 - 1)
#define k32U_MAX (4294967295u)
#define k64S_MAX INT64_MAX
#define k64U_MAX UINT64_MAX
#define kSIZE_MAX SIZE_MAX
#define k32F_MAX (3.4028235e38f)
#define k64F_MAX (1.7976931348623157e308)
#define kINFINITE ((k64u)-1)

/* Check-and-return helpers. The only control-flow macros of the code base. */

/** Evaluates EXPR once; returns its status from the enclosing function when it failed. */
#define kCheck(EXPR)                                                                              \
    do                                                                                            \
    {                                                                                             \
        kStatus kCheck_status_ = (EXPR);                                                          \
        if (!kSuccess(kCheck_status_)) return kCheck_status_;                                     \
    } while (0)

/** Returns STATUS from the enclosing function when COND is false. */
#define kCheckArgs(COND)                                                                          \
    do                                                                                            \
    {                                                                                             \
        if (!(COND)) return kSTATUS_BAD_PARAMETER;                                                \
    } while (0)

/** Returns kSTATUS_BAD_STATE from the enclosing function when COND is false. */
#define kCheckState(COND)                                                                         \
    do                                                                                            \
    {                                                                                             \
        if (!(COND)) return kSTATUS_BAD_STATE;                                                    \
    } while (0)

/** Returns STATUS when COND is false. */
#define kCheckTrue(COND, STATUS)                                                                  \
    do                                                                                            \
    {                                                                                             \
        if (!(COND)) return (STATUS);                                                             \
    } while (0)

/** Stores the status of EXPR in the local `status` and jumps to `cleanup` when it failed. */
#define kTest(EXPR)                                                                               \
    do                                                                                            \
    {                                                                                             \
        if (!kSuccess(status = (EXPR))) goto cleanup;                                             \
    } while (0)

#define kCountOf(ARRAY) (sizeof(ARRAY) / sizeof((ARRAY)[0]))
#define kMin_(A, B) ((A) < (B) ? (A) : (B))
#define kMax_(A, B) ((A) > (B) ? (A) : (B))

/** Name of a status value ("kSTATUS_BAD_PARAMETER"), or "kSTATUS_UNKNOWN". */
kFx(const kChar*) kStatus_Name(kStatus status);

#endif
