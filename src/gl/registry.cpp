// registry.cpp - the device variants that were registered, and making a device of one of them.
#include "gl/devices/variant.h"

#include <kxcoreemb/gl_texture.h>

#include <new>

namespace
{

constexpr UINT32 kFirstDeviceId = 100;
constexpr INT32 kLowestPriority = -1024;
constexpr UINT32 kBestDevice = 0, kNewestPlainDevice = 1; // special device ids

/// The record that a device id stands for; null when there is none.
const KxcGLDeviceInfo* chooseInfo(UINT32 deviceId)
{
    const KxcGLDeviceInfo* chosen = nullptr;
    INT32 best = kLowestPriority;
    for (const KxcGLDeviceInfo* info = kxcCore->deviceInfos; info; info = info->next)
    {
        if (deviceId == kBestDevice
                ? info->priority > best
                : !chosen && (deviceId == kNewestPlainDevice ? info->priority == 0 : info->deviceId == deviceId))
        {
            chosen = info;
            best = info->priority;
        }
    }
    return chosen;
}

} // namespace

KxcGLDeviceFactory::~KxcGLDeviceFactory() = default;

void KxcGLDeviceFactory::registerFactory(KxcGLDeviceFactory* factory)
{
    if (!factory)
        return;
    factory->m_deviceId = kxcCore->deviceFactories ? kxcCore->deviceFactories->m_deviceId + 1 : kFirstDeviceId;
    factory->m_next = kxcCore->deviceFactories;
    kxcCore->deviceFactories = factory;

    KxcGLDeviceInfo* info = new (std::nothrow) KxcGLDeviceInfo();
    if (!info)
        KxcCore::systemPanic("Unable to allocate GL device info struct");
    info->deviceId = factory->m_deviceId;
    if (factory->fillDeviceInfo(info))
    {
        info->next = kxcCore->deviceInfos;
        kxcCore->deviceInfos = info;
    }
    else
        delete info;
}

KxcGLDeviceFactory* KxcGLDeviceFactory::find(UINT32 deviceId)
{
    KxcGLDeviceFactory* factory = kxcCore->deviceFactories;
    while (factory && factory->m_deviceId != deviceId)
        factory = factory->m_next;
    return factory;
}

KxcGLDevice* kxcGLMakeDevice(UINT32 deviceId, UINT32 flags)
{
    kxcCore->currentDeviceInfo = nullptr;
    const KxcGLDeviceInfo* info = chooseInfo(deviceId);
    KxcGLDeviceFactory* factory = KxcGLDeviceFactory::find(info ? info->deviceId : deviceId);
    KxcGLDevice* device = factory ? factory->createDevice(flags) : nullptr;
    if (!device)
        return nullptr;
    if (!device->initialize())
    {
        delete device;
        return nullptr;
    }
    kxcCore->currentDeviceInfo = info;
    for (KxcGLTexture* texture = kxcCore->textures; texture; texture = texture->getNext())
        device->onTextureCreated(texture);
    return device;
}

void kxcGLDestroyDevice()
{
    if (!kxcCore->device)
        return;
    kxcCore->device->deinitialize();
    delete kxcCore->device;
    kxcCore->device = nullptr;
}

void kxcGLRegisterStub()
{
    KxcGLVariant<KxcGLDevice>::use("Stub", kxcCore->screenWidth, kxcCore->screenHeight, 1, 0, 0);
}

void kxcGLFree()
{
    kxcGLDestroyDevice();
    while (KxcGLDeviceFactory* factory = kxcCore->deviceFactories)
    {
        kxcCore->deviceFactories = factory->m_next;
        delete factory;
    }
    kxcCore->currentDeviceInfo = nullptr;
    while (const KxcGLDeviceInfo* info = kxcCore->deviceInfos)
    {
        kxcCore->deviceInfos = info->next;
        delete info;
    }
}
