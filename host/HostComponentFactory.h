#pragma once

#include <cstdint>

/// The host's component factory: how the module comes by the REST client.
///
/// Everything in this header is a binary interface. Objects are reached through tables of functions whose
/// positions ("slots") are fixed, so nothing here may be reordered, inserted or given a virtual destructor.
/// No exception may leave an implementation of any of these functions.

/// Result of a host operation: zero and positive values are success, negative values are failure.
/// An operation that answers a yes-or-no question answers "no" with a negative value.
using HostStatus = std::int32_t;

constexpr HostStatus kHostStatusOk = 0;
/// General failure.
constexpr HostStatus kHostStatusFailed = static_cast<HostStatus>(0x80004005u);
/// The object does not offer the interface that was asked for.
constexpr HostStatus kHostStatusNoInterface = static_cast<HostStatus>(0x80004002u);
/// The factory does not know the class that was asked for.
constexpr HostStatus kHostStatusNoClass = static_cast<HostStatus>(0x80040111u);
/// A pointer argument was null, or a success came with a null object.
constexpr HostStatus kHostStatusInvalidPointer = static_cast<HostStatus>(0x80000005u);

constexpr bool hostSucceeded(HostStatus status)
{
    return status >= 0;
}

/// A 128-bit identifier of a class, an interface or a factory.
struct HostIdentifier
{
    std::uint32_t part1;
    std::uint16_t part2;
    std::uint16_t part3;
    std::uint8_t bytes[8];
};

constexpr bool operator==(const HostIdentifier& a, const HostIdentifier& b)
{
    if (a.part1 != b.part1 || a.part2 != b.part2 || a.part3 != b.part3)
        return false;
    for (int i = 0; i < 8; ++i) {
        if (a.bytes[i] != b.bytes[i])
            return false;
    }
    return true;
}

constexpr bool operator!=(const HostIdentifier& a, const HostIdentifier& b)
{
    return !(a == b);
}

/// Slots 0 to 2 of every component: the reference-counting operations.
class IHostComponent
{
public:
    /// Slot 0. Yields another interface of the same object; the caller owns the reference it gets.
    /// \param interfaceId the interface asked for.
    /// \param out set to the interface, or to null on failure; must not be null itself.
    virtual HostStatus queryInterface(const HostIdentifier& interfaceId, void** out) = 0;
    /// Slot 1. Adds a reference. \return the new count.
    virtual std::uint32_t addReference() = 0;
    /// Slot 2. Drops a reference. The caller must not use its pointer afterwards. \return the new count.
    virtual std::uint32_t release() = 0;

protected:
    ~IHostComponent() = default;
};

/// Creates components by class identifier.
class IHostComponentFactory : public IHostComponent
{
public:
    /// Slot 3. Creates a component.
    /// \param classId what to create.
    /// \param outer always null; reserved for aggregation.
    /// \param interfaceId which interface of the new component to return.
    /// \param out receives the interface with one reference that the caller owns. It is left null on failure.
    virtual HostStatus createComponent(const HostIdentifier& classId, IHostComponent* outer,
                                       const HostIdentifier& interfaceId, void** out) = 0;

protected:
    ~IHostComponentFactory() = default;
};

/// Identifies the factory that \ref getComponentFactory is asked for.
constexpr HostIdentifier kHostComponentFactoryId = {
    0x6b1d20f4, 0x3c55, 0x4e0a, {0x9a, 0x41, 0x1e, 0x0c, 0x57, 0x82, 0xd3, 0x61}};
/// Identifies the class of the REST client.
constexpr HostIdentifier kRestClientClassId = {
    0x0f9a7c33, 0x8d12, 0x47b6, {0xb2, 0x08, 0x66, 0x4f, 0x91, 0x2a, 0x05, 0xee}};
/// Identifies the interface IRestClient.
constexpr HostIdentifier kRestClientInterfaceId = {
    0xd4e85a10, 0x71cb, 0x4c2f, {0x83, 0x7e, 0x2b, 0xf0, 0x6d, 0x19, 0xc4, 0x3a}};

#if defined(KRX_HOST_BUILD)
#define KRX_HOST_API __attribute__((visibility("default")))
#else
#define KRX_HOST_API
#endif

/// The one entry of the host's component library.
/// \param factoryId which factory; the module asks for \ref kHostComponentFactoryId.
/// \param out receives the factory with one reference that the caller owns; null on failure.
extern "C" KRX_HOST_API HostStatus getComponentFactory(const HostIdentifier& factoryId,
                                                       IHostComponentFactory** out);
