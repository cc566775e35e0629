/**
 * @file    kppArrayList.h
 * @brief   kpp::Data::ArrayList<T>: a kArrayList of ItemType().
 */
#ifndef KPP_DATA_ARRAY_LIST_H
#define KPP_DATA_ARRAY_LIST_H

#include <kSolan/kpp/Data/kppContainer.h>

namespace kpp::Data
{
template <typename T>
class ArrayList : public Container<T, ArrayListTraits>
{
public:
    using Base = Container<T, ArrayListTraits>;

    ArrayList() { Base::template Register<ArrayList>(); }

    T& At(kSize i) const { return *static_cast<T*>(kArrayList_At(this->m_handle, i)); }
    /** The last element; the list must not be empty. */
    T& Back() const { return At(this->Count() - 1); }
    kSize Length() const { return this->Count(); }

    kStatus Add(const T& item) { return kArrayList_Add(this->m_handle, &item); }
    kStatus Remove(kSize i) { return kArrayList_Remove(this->m_handle, i, kNULL); }
    kStatus Clear() { return kArrayList_Clear(this->m_handle); }
    kStatus Resize(kSize count) { return kArrayList_Resize(this->m_handle, count); }
    kStatus Reserve(kSize capacity) { return kArrayList_Reserve(this->m_handle, capacity); }
};
} // namespace kpp::Data

#endif
