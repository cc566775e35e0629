/**
 * @file    kppTestAssembly.h
 * @brief   Loads the library's assembly once for the data-layer tests (its value types).
 */
#ifndef KPP_TEST_ASSEMBLY_H
#define KPP_TEST_ASSEMBLY_H

#include <kSolan/kSolan.h>

#include <gtest/gtest.h>

namespace ktest
{
class SolanAssembly : public ::testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(kSolan_Construct(&m_assembly), kOK); }
    void TearDown() override { kObject_Destroy(m_assembly); }

private:
    kAssembly m_assembly = kNULL;
};

/* One environment per test file; constructing the assembly twice only shares it. */
inline ::testing::Environment* const kppSolanAssembly =
    ::testing::AddGlobalTestEnvironment(new SolanAssembly);
} // namespace ktest

#endif
