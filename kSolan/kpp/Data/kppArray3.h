/**
 * @file    kppArray3.h
 * @brief   kpp::Data::Array3<T>: a kArray3 of ItemType().
 */
#ifndef KPP_DATA_ARRAY3_H
#define KPP_DATA_ARRAY3_H

#include <kSolan/kpp/Data/kppContainer.h>

namespace kpp::Data
{
template <typename T>
class Array3 : public Container<T, Array3Traits>
{
public:
    using Base = Container<T, Array3Traits>;
    using Base::Init;

    Array3() { Base::template Register<Array3>(); }

    kStatus Init(kSize length0, kSize length1, kSize length2, void* alloc)
    {
        kAssert(this->m_handle == kNULL);
        return kArray3_Construct(&this->m_handle, Base::ItemType(), length0, length1, length2,
                                 alloc);
    }
    kStatus Init(kSize length0, kSize length1, kSize length2, Allocator& alloc)
    {
        return Init(length0, length1, length2, alloc.Handle());
    }
    kStatus Allocate(kSize length0, kSize length1, kSize length2)
    {
        return kArray3_Allocate(this->m_handle, Base::ItemType(), length0, length1, length2);
    }

    T& At(kSize i, kSize j, kSize k) const
    {
        return *static_cast<T*>(kArray3_At(this->m_handle, i, j, k));
    }
    kSize Length(kSize dimension) const
    {
        return this->m_handle ? kArray3_Length(this->m_handle, dimension) : 0;
    }
};
} // namespace kpp::Data

#endif
