#include "HostComponentFactory.h"

#include "RestClientComponent.h"
#include "StandInHost.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace {

/// Makes the components of the stand-in: the REST client. Like it, the factory is one for the process and
/// lives as long.
class ComponentFactory final : public IHostComponentFactory
{
public:
    static ComponentFactory& instance()
    {
        // Never destroyed, for the same reason as the REST client.
        static union Holder {
            constexpr Holder()
                : factory()
            {
            }
            ~Holder() {}
            ComponentFactory factory;
        } holder;
        return holder.factory;
    }

    HostStatus queryInterface(const HostIdentifier& interfaceId, void** out) override
    {
        if (out == nullptr)
            return kHostStatusInvalidPointer;
        *out = nullptr;
        if (interfaceId != kHostComponentFactoryId)
            return kHostStatusNoInterface;
        addReference();
        *out = static_cast<IHostComponentFactory*>(this);
        return kHostStatusOk;
    }

    std::uint32_t addReference() override { return ++m_references; }

    std::uint32_t release() override
    {
        std::uint32_t count = m_references.load();
        while (count > 0 && !m_references.compare_exchange_weak(count, count - 1)) {
        }
        return count > 0 ? count - 1 : 0;
    }

    HostStatus createComponent(const HostIdentifier& classId, IHostComponent* outer,
                               const HostIdentifier& interfaceId, void** out) override
    {
        if (out == nullptr)
            return kHostStatusInvalidPointer;
        *out = nullptr;
        if (classId != kRestClientClassId)
            return kHostStatusNoClass;
        // Nothing here can be a part of another object.
        if (outer != nullptr)
            return kHostStatusFailed;
        return StandInHost::RestClientComponent::instance().queryInterface(interfaceId, out);
    }

private:
    constexpr ComponentFactory() = default;
    ~ComponentFactory() = default;

    std::atomic<std::uint32_t> m_references{0};
};

/// What getComponentFactory() does in place of its own work. A reader takes a share of it, so that the entry
/// may be replaced while a call is under way, even by that call itself.
std::shared_ptr<const StandInHost::ComponentFactoryEntry>
exchangedEntry(const StandInHost::ComponentFactoryEntry* replacement)
{
    static std::mutex mutex;
    // Never destroyed: objects that end with the process may still ask for the factory.
    static auto& entry = *new std::shared_ptr<const StandInHost::ComponentFactoryEntry>;
    std::shared_ptr<const StandInHost::ComponentFactoryEntry> made;
    if (replacement != nullptr && *replacement)
        made = std::make_shared<const StandInHost::ComponentFactoryEntry>(*replacement);
    const std::lock_guard<std::mutex> lock(mutex);
    if (replacement != nullptr)
        entry.swap(made);
    return entry;
}

} // namespace

extern "C" HostStatus getComponentFactory(const HostIdentifier& factoryId, IHostComponentFactory** out)
{
    if (out == nullptr)
        return kHostStatusInvalidPointer;
    try {
        if (const auto entry = exchangedEntry(nullptr))
            return (*entry)(factoryId, out);
    } catch (...) {
        return kHostStatusFailed;
    }
    *out = nullptr;
    if (factoryId != kHostComponentFactoryId)
        return kHostStatusNoClass;
    ComponentFactory::instance().addReference();
    *out = &ComponentFactory::instance();
    return kHostStatusOk;
}

namespace StandInHost {

// Takes a value as all that is set here is taken. NOLINTNEXTLINE(performance-unnecessary-value-param)
void setComponentFactoryEntry(ComponentFactoryEntry entry)
{
    exchangedEntry(&entry);
}

} // namespace StandInHost
