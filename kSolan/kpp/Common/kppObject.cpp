#include <kSolan/kpp/Common/kppObject.h>

#include <mutex>
#include <typeindex>
#include <unordered_map>

namespace kpp
{
namespace
{
/* Class checks of the wrapper classes, by dynamic type, for Load6. */
struct AcceptsRegistry
{
    std::mutex lock;
    std::unordered_map<std::type_index, bool (*)(kObject)> checks;
};

AcceptsRegistry& Registry()
{
    static AcceptsRegistry registry;
    return registry;
}
} // namespace

Object::Object(const Object& other) : m_handle(other.m_handle)
{
    if (m_handle) kObject_Share(m_handle);
}

Object& Object::operator=(const Object& other)
{
    Attach(other);
    return *this;
}

Object::~Object()
{
    [[maybe_unused]] kStatus status = Destroy();
    kAssert(kSuccess(status));
}

kStatus Object::Load6(const char* path, Allocator& alloc) { return Load6(path, alloc.Handle()); }

kStatus Object::Load6(const char* path, void* alloc)
{
    kCheckArgs(m_handle == kNULL);
    kObject loaded = kNULL;
    kCheck(kLoad6(&loaded, path, kAlloc_Fallback(alloc)));
    kStatus status = AttachChecked(loaded, DynamicAccepts());
    kDisposeRef(&loaded);
    return status;
}

kStatus Object::Load6(const std::string& path, void* alloc) { return Load6(path.c_str(), alloc); }

kStatus Object::Save6(const char* path) const { return kSave6(m_handle, path); }

kStatus Object::Save6(const std::string& path) const { return Save6(path.c_str()); }

kStatus Object::Dispose() { return kDisposeRef(&m_handle); }

kStatus Object::Destroy() { return kDestroyRef(&m_handle); }

kStatus Object::Init(Allocator& alloc) { return Init(alloc.Handle()); }

kStatus Object::Init(void* alloc)
{
    kAssert(m_handle == kNULL);
    kAlloc allocator = kAlloc_Fallback(alloc);
    kObject object = kNULL;
    kCheck(kAlloc_GetObject(allocator, kTypeOf(kObject), &object));
    kStatus status = kObject_Init(object, kTypeOf(kObject), allocator);
    if (!kSuccess(status))
    {
        kAlloc_Free(allocator, object);
        return status;
    }
    m_handle = object;
    return kOK;
}

bool Object::Accepts(kObject handle) { return kObject_Is(handle, kTypeOf(kObject)); }

kStatus Object::AttachChecked(void* handle, AcceptsFx accepts)
{
    if (handle == m_handle) return kOK;
    kCheck(Destroy());
    if (!handle) return kOK;
    kCheckArgs(accepts(handle));
    kCheck(kObject_Share(handle));
    m_handle = handle;
    return kOK;
}

kStatus Object::Attach(void* handle) { return AttachChecked(handle, &Object::Accepts); }

kStatus Object::Attach(const Object& other)
{
    if (&other == this) return kOK;
    return AttachChecked(other.m_handle, DynamicAccepts());
}

kStatus Object::Export(void*& handle) const
{
    if (m_handle) kCheck(kObject_Share(m_handle));
    handle = m_handle;
    return kOK;
}

kStatus Object::Share() { return kObject_Share(m_handle); }

kBool Object::IsShared() const { return m_handle && kObject_RefCount(m_handle) > 1; }

kAlloc Object::Alloc() const { return m_handle ? kObject_Alloc(m_handle) : kNULL; }

void Object::RegisterAccepts(const std::type_info& type, AcceptsFx accepts)
{
    AcceptsRegistry& registry = Registry();
    std::lock_guard<std::mutex> guard(registry.lock);
    registry.checks.emplace(std::type_index(type), accepts);
}

Object::AcceptsFx Object::DynamicAccepts() const
{
    AcceptsRegistry& registry = Registry();
    std::lock_guard<std::mutex> guard(registry.lock);
    auto found = registry.checks.find(std::type_index(typeid(*this)));
    return found == registry.checks.end() ? &Object::Accepts : found->second;
}

Allocator::~Allocator() = default;

void Allocator::Attach(void* alloc)
{
    kAssert(m_handle == kNULL);
    if (alloc && kSuccess(kObject_Share(alloc))) m_handle = alloc;
}

void Allocator::Attach(Allocator& other) { Attach(other.m_handle); }
} // namespace kpp

kDefineValue(kObjectHolder, kValue);
kDefineValue(kGridId16u, kValue);

kFx(kStatus) xxkObjectHolder_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kObjectHolder, kValue));
    return kAddField(kObjectHolder, kObject, handle);
}

kFx(kStatus) xxkGridId16u_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kGridId16u, kValue));
    kCheck(kAddField(kGridId16u, k16u, row));
    return kAddField(kGridId16u, k16u, col);
}
