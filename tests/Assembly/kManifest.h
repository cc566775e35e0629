/**
 * @file    kManifest.h
 * @brief   The library's type manifest as test data, and the check of a type against its row.
 */
#ifndef K_TEST_MANIFEST_H
#define K_TEST_MANIFEST_H

#include <kTestSupport.h>

#include <string>
#include <vector>

namespace ktest
{
enum class ManifestKind
{
    CLASS,
    VALUE,
    ENUM
};

/** One kM_FLAGS, kM_BASE_CHECK, kM_STATIC, kM_FIELD, kM_ENUMERATOR, kM_VERSION or ... entry. */
struct ManifestExtra
{
    enum Tag
    {
        Flags,
        BaseCheck,
        Static,
        Field,
        Enumerator,
        Version,
        FrameworkConstructor
    } tag;
    const char* text[5]; ///< Names and texts of the entry, in the entry's argument order.
    long long number;    ///< Flags or enumerator value.
};

struct ManifestRow
{
    int number; ///< Registration order, 1 .. 217; 0 for the deliberately unregistered types.
    const char* name;
    ManifestKind kind;
    const char* base;
    int subsystem;
    std::vector<std::string> overrides;
    std::vector<ManifestExtra> extras;
};

/** Every row of the manifest: the 217 registered in order, then the unregistered ones. */
const std::vector<ManifestRow>& Manifest();

/** True when the type's registration operation is part of this build. */
bool IsBuilt(const ManifestRow& row);

/** The registered rows whose types are built, in registration order. */
std::vector<const ManifestRow*> BuiltRegisteredRows();

/** Looks up an exported symbol of the process (null when absent or not exported). */
void* FindSymbol(const std::string& name);

/** Checks every registered property of `type` against `row` (gtest expectations). */
void ExpectTypeMatchesRow(kType type, const ManifestRow& row);
} // namespace ktest

#endif
