/**
 * @file    kS3dPhaseTestSupport.h
 * @brief   Shared by the phase and stripe decoding tests: the library assembly for a suite,
 *          and small owners of frames and maps.
 */
#ifndef K_S3D_PHASE_TEST_SUPPORT_H
#define K_S3D_PHASE_TEST_SUPPORT_H

#include <kTestSupport.h>

#include <kSolan/kSolan.h>

#include <cstring>
#include <vector>

namespace ktest
{
/** A suite whose tests need the library's types registered. */
class SolanSuite : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(kSolan_Construct(&s_assembly), kOK); }
    static void TearDownTestSuite() { kDestroyRef(&s_assembly); }
    static inline kAssembly s_assembly = kNULL;
};

/** An unpadded image owned by the test, filled from bytes. */
class Frame
{
public:
    Frame(kSize width, kSize height, const k8u* pixels = nullptr, kType type = kNULL)
    {
        EXPECT_EQ(kImage_Construct(&m_image, type ? type : kTypeOf(k8u), width, height, kNULL),
                  kOK);
        if (pixels) memcpy(kImage_Data(m_image), pixels, width * height);
    }
    Frame(kSize width, kSize height, const std::vector<k8u>& pixels)
        : Frame(width, height, pixels.data())
    {
    }
    ~Frame() { kObject_Destroy(m_image); }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    operator kImage() const { return m_image; }
    k8u* Data() const { return static_cast<k8u*>(kImage_Data(m_image)); }

private:
    kImage m_image = kNULL;
};

/** A kArray2 of T owned by the test. */
template <typename T>
class Map
{
public:
    Map(kType type, kSize rows, kSize columns)
    {
        EXPECT_EQ(kArray2_Construct(&m_array, type, rows, columns, kNULL), kOK);
    }
    ~Map() { kObject_Destroy(m_array); }
    Map(const Map&) = delete;
    Map& operator=(const Map&) = delete;
    operator kArray2() const { return m_array; }
    T* Data() const { return static_cast<T*>(kArray2_Data(m_array)); }
    kSize Count() const { return kArray2_Count(m_array); }
    T& operator[](kSize i) const { return Data()[i]; }
    std::vector<T> Values() const { return std::vector<T>(Data(), Data() + Count()); }
    void Fill(const T& value) const
    {
        for (kSize i = 0; i < Count(); ++i)
            Data()[i] = value;
    }

private:
    kArray2 m_array = kNULL;
};
} // namespace ktest

#endif
