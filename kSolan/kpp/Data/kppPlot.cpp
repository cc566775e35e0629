#include <kSolan/kpp/Data/kppPlot.h>

namespace kpp::Data
{
Plot::Plot() { RegisterAccepts<Plot>(); }

Plot::~Plot() = default;

bool Plot::Accepts(kObject handle) { return kObject_Is(handle, kTypeOf(kPlot)); }

kStatus Plot::Attach(void* handle) { return AttachChecked(handle, &Plot::Accepts); }

kStatus Plot::Attach(const Object& other)
{
    return &other == this ? kOK : AttachChecked(other.Handle(), &Plot::Accepts);
}

kStatus Plot::Init(Allocator& alloc) { return Init(alloc.Handle()); }

kStatus Plot::Init(void* alloc)
{
    kAssert(m_handle == kNULL);
    return kPlot_Construct(&m_handle, alloc);
}

kStatus Plot::Add(const char* name, Object& item)
{
    void* share = kNULL;
    kCheck(item.Export(share));
    kStatus status = kPlot_Add(m_handle, name, share);
    if (!kSuccess(status)) kObject_Dispose(share);
    return status;
}

kStatus Plot::SetWorld(float x0, float y0, float x1, float y1)
{
    return kPlot_SetWorld(m_handle, (k64f)x0, (k64f)y0, (k64f)x1, (k64f)y1);
}
} // namespace kpp::Data
