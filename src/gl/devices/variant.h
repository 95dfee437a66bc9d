// variant.h - how a device class registers itself as a variant.
#pragma once

#include "core/core_state.h"
#include "gl/device.h"

#include <new>

/// Makes devices of one class.
template <class Device>
class KxcGLVariant : public KxcGLDeviceFactory
{
public:
    /// @param name  a literal @param width, height  of the frame, as the record tells them
    static void use(const char* name, INT32 width, INT32 height, UINT32 capabilities, INT32 priority,
                    UINT32 capabilities2 = 27)
    {
        KxcGLVariant* factory = new (std::nothrow) KxcGLVariant;
        if (!factory)
            return;
        factory->m_info.name = name;
        factory->m_info.width = width;
        factory->m_info.height = height;
        factory->m_info.infoFlags1 = factory->m_info.infoFlags2 = 1;
        factory->m_info.capabilityMask = capabilities;
        factory->m_info.capabilityMask2 = capabilities2;
        factory->m_info.priority = priority;
        registerFactory(factory);
    }
    KxcGLDevice* createDevice(UINT32 flags) override { return new (std::nothrow) Device(flags); }
    INT32 fillDeviceInfo(KxcGLDeviceInfo* info) override
    {
        m_info.deviceId = info->deviceId;
        *info = m_info;
        return 1;
    }

private:
    KxcGLDeviceInfo m_info = {};
};
