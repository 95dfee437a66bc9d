// gl.cpp - the facade: a game's handle on the device and its pipeline.
#include "core/core_state.h"
#include "gl/device.h"

#include <new>

KxcGL* KxcGL::create(UINT32 deviceId, UINT32 flags)
{
    if (!kxcCore || kxcCore->device)
        return nullptr;
    KxcGLDevice* device = kxcGLMakeDevice(deviceId, flags);
    if (!device)
        return nullptr;
    KxcGL* gl = new (std::nothrow) KxcGL();
    if (!gl)
    {
        kxcCore->currentDeviceInfo = nullptr;
        delete device;
        return nullptr;
    }
    kxcCore->device = gl->m_device = device;
    return gl;
}

KxcGL::~KxcGL()
{
    if (kxcCore && kxcCore->device == m_device) // a core that ended took its device along
        kxcGLDestroyDevice();
}

INT32 KxcGL::recreate(UINT32 deviceId, UINT32 flags)
{
    if (!kxcCore || kxcCore->device != m_device)
        return 0;
    kxcGLDestroyDevice();
    kxcCore->device = m_device = kxcGLMakeDevice(deviceId, flags);
    return m_device != nullptr;
}

const KxcGLDeviceInfo* KxcGL::getDeviceInfo() { return kxcCore ? kxcCore->deviceInfos : nullptr; }

const KxcGLDeviceInfo* KxcGL::getCurrentDeviceInfo() { return kxcCore ? kxcCore->currentDeviceInfo : nullptr; }

INT32 KxcGL::clear(INT32 color, KxcFixed depth, INT32 flags) { return m_device->clear(color, depth, flags); }

INT32 KxcGL::setRenderTarget(KxcGLSurface* surface) { return m_device->setRenderTarget(surface); }

KxcGLSurface* KxcGL::getSecondary() { return m_device->getSecondary(); }

INT32 KxcGL::setPalette(unsigned char* first, unsigned char* second) { return m_device->setPalette(first, second); }

INT32 KxcGL::getPalette(unsigned char** first, unsigned char** second) { return m_device->getPalette(first, second); }

INT32 KxcGL::beginRender()
{
    m_device->pipeline.beginRender();
    return 0;
}

INT32 KxcGL::endRender()
{
    m_device->pipeline.endRender();
    return 0;
}

// Devices hear of a state before it is checked.

INT32 KxcGL::setStateI(INT32 id, INT32 value)
{
    m_device->onSetStateI(id, value);
    return m_device->pipeline.state.setI(id, value);
}

INT32 KxcGL::setStateF(INT32 id, KxcFixed value)
{
    m_device->onSetStateF(id, value);
    return m_device->pipeline.state.setF(id, value);
}

INT32 KxcGL::getStateI(INT32 id, INT32& value) { return m_device->pipeline.state.getI(id, value); }

INT32 KxcGL::getStateF(INT32 id, KxcFixed& value) { return m_device->pipeline.state.getF(id, value); }

INT32 KxcGL::validateBlendMode(INT32 source, INT32 destination)
{
    return KxcGLRenderState::validateBlendMode(source, destination);
}

INT32 KxcGL::setMatrix(INT32 id, const KxcMatrix4& m) { return m_device->pipeline.state.setMatrix(id, m); }

INT32 KxcGL::getMatrix(INT32 id, KxcMatrix4& m) { return m_device->pipeline.state.getMatrix(id, m); }

INT32 KxcGL::setLight(INT32 index, const KxcGLLight& light) { return m_device->pipeline.state.setLight(index, light); }

INT32 KxcGL::getLight(INT32 index, KxcGLLight& light)
{
    if (index < 0 || index >= KxcGLRenderState::kLights)
        return -3;
    light = m_device->pipeline.state.lights[index];
    return 0;
}

INT32 KxcGL::enableLight(INT32 index, INT32 enable) { return m_device->pipeline.state.enableLight(index, enable); }

INT32 KxcGL::setMaterial(const KxcGLMaterial& material)
{
    m_device->pipeline.state.material = material;
    return 0;
}

INT32 KxcGL::getMaterial(KxcGLMaterial& material)
{
    material = m_device->pipeline.state.material;
    return 0;
}

INT32 KxcGL::setViewport(const KxcGLViewport& viewport)
{
    m_device->pipeline.state.viewport = viewport;
    return 0;
}

INT32 KxcGL::getViewport(KxcGLViewport& viewport)
{
    viewport = m_device->pipeline.state.viewport;
    return 0;
}

INT32 KxcGL::setTexture(KxcGLTexture* texture) { return m_device->pipeline.state.setTexture(texture); }

KxcGLTexture* KxcGL::getTexture() { return m_device->pipeline.state.texture; }

INT32 KxcGL::setCustomCallback(KxcGLCustomRenderCallback* callback)
{
    m_device->pipeline.state.callback = callback;
    return 0;
}

INT32 KxcGL::setCustomCallbackData(INT32 data)
{
    m_device->pipeline.state.callbackData = data;
    return 0;
}

INT32 KxcGL::renderPrimitive(KxcGLVertexBuffer* buffer, INT32 type, INT32 first, INT32 count, INT32 min, INT32 max,
                             KxcGLTriangleInfoBuffer* info)
{
    return m_device->pipeline.render(buffer, type, {first, nullptr, count}, min, max, info);
}

INT32 KxcGL::renderPrimitiveIndexed(KxcGLVertexBuffer* buffer, INT32 type, INT32 base, const UINT16* indices,
                                    INT32 count, INT32 min, INT32 max, KxcGLTriangleInfoBuffer* info)
{
    return m_device->pipeline.render(buffer, type, {base, indices, indices ? count : 0}, min, max, info);
}

INT32 KxcGL::processVertices(KxcGLVertexBuffer&, KxcGLVertexBuffer&, INT32, INT32) { return -1; }

INT32 KxcGL::drawSprite2d(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left, KxcFixed top,
                          KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix, UINT32 color)
{
    return m_device->pipeline.drawSprite2d({x, y, z, w, h, left, top, right, bottom, matrix, color});
}

INT32 KxcGL::drawSprite2d2(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left, KxcFixed top,
                           KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix, UINT32 color)
{
    return drawSprite2d(x + w / 2, y + h / 2, z, w, h, left, top, right, bottom, matrix, color);
}

INT32 KxcGL::drawSprite3d(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left, KxcFixed top,
                          KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix, UINT32 color)
{
    return m_device->pipeline.drawSprite3d({x, y, z, w, h, left, top, right, bottom, matrix, color});
}

INT32 KxcGL::drawSprite3dBillboard(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left,
                                   KxcFixed top, KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix,
                                   UINT32 color)
{
    return m_device->pipeline.drawBillboard({x, y, z, w, h, left, top, right, bottom, matrix, color});
}
