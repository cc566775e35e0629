/**
 * @file    kppArray2.h
 * @brief   kpp::Data::Array2<T>: a row-major kArray2 of ItemType(), i along dimension 0.
 */
#ifndef KPP_DATA_ARRAY2_H
#define KPP_DATA_ARRAY2_H

#include <kSolan/kpp/Data/kppContainer.h>

namespace kpp::Data
{
template <typename T>
class Array2 : public Container<T, Array2Traits>
{
public:
    using Base = Container<T, Array2Traits>;
    using Base::Init;

    Array2() { Base::template Register<Array2>(); }

    kStatus Init(kSize length0, kSize length1, void* alloc, void* valueAlloc = kNULL)
    {
        kAssert(this->m_handle == kNULL);
        return kArray2_ConstructEx(&this->m_handle, Base::ItemType(), length0, length1, alloc,
                                   valueAlloc);
    }
    kStatus Init(kSize length0, kSize length1, Allocator& alloc)
    {
        return Init(length0, length1, alloc.Handle());
    }
    /** Re-allocates to length0 × length1 elements; contents unspecified. */
    kStatus Allocate(kSize length0, kSize length1)
    {
        return kArray2_Allocate(this->m_handle, Base::ItemType(), length0, length1);
    }

    T& At(kSize i, kSize j) const { return *static_cast<T*>(kArray2_At(this->m_handle, i, j)); }
    /** Element k in row order; k must be below Count(). */
    T& operator[](kSize k) const
    {
        kAssert(k < this->Count());
        return this->Data()[k];
    }
    kSize Length(kSize dimension) const
    {
        return this->m_handle ? kArray2_Length(this->m_handle, dimension) : 0;
    }
};
} // namespace kpp::Data

#endif
