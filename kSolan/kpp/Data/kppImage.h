/**
 * @file    kppImage.h
 * @brief   kpp::Data::Image<T>: a kImage whose pixels are T (attaching accepts any kImage).
 */
#ifndef KPP_DATA_IMAGE_H
#define KPP_DATA_IMAGE_H

#include <kSolan/kpp/Data/kppContainer.h>

namespace kpp::Data
{
template <typename T>
class Image : public Container<T, ImageTraits>
{
public:
    using Base = Container<T, ImageTraits>;
    using Base::Init;
    using PixelFormat = kPixelFormat;

    Image() { Base::template Register<Image>(); }

    kStatus Init(kSize width, kSize height, void* alloc)
    {
        kAssert(this->m_handle == kNULL);
        return kImage_Construct(&this->m_handle, PixelType(), width, height, alloc);
    }
    kStatus Init(kSize width, kSize height, Allocator& alloc)
    {
        return Init(width, height, alloc.Handle());
    }

    static kType PixelType() { return Base::ItemType(); }
    T& At(kSize x, kSize y) const { return *static_cast<T*>(kImage_At(this->m_handle, x, y)); }
    kSize Width() const { return this->m_handle ? kImage_Width(this->m_handle) : 0; }
    kSize Height() const { return this->m_handle ? kImage_Height(this->m_handle) : 0; }
    PixelFormat GetPixelFormat() const { return kImage_PixelFormat(this->m_handle); }
    kStatus SetPixelFormat(PixelFormat format)
    {
        return kImage_SetPixelFormat(this->m_handle, format);
    }
};
} // namespace kpp::Data

#endif
