/**
 * @file    kppArray1.h
 * @brief   kpp::Data::Array1<T>: a kArray1 of ItemType().
 */
#ifndef KPP_DATA_ARRAY1_H
#define KPP_DATA_ARRAY1_H

#include <kSolan/kpp/Data/kppContainer.h>

namespace kpp::Data
{
template <typename T>
class Array1 : public Container<T, Array1Traits>
{
public:
    using Base = Container<T, Array1Traits>;
    using Base::Init;

    Array1() { Base::template Register<Array1>(); }

    kStatus Init(kSize length, void* alloc)
    {
        kAssert(this->m_handle == kNULL);
        return kArray1_Construct(&this->m_handle, Base::ItemType(), length, alloc);
    }
    kStatus Init(kSize length, Allocator& alloc) { return Init(length, alloc.Handle()); }
    /** Re-allocates to length elements; contents unspecified. */
    kStatus Allocate(kSize length)
    {
        return kArray1_Allocate(this->m_handle, Base::ItemType(), length);
    }

    T& At(kSize i) const { return *static_cast<T*>(kArray1_At(this->m_handle, i)); }
    kSize Length() const { return this->Count(); }
};
} // namespace kpp::Data

#endif
