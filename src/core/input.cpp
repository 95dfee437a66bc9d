// input.cpp - routes keys and the pointer to the game's controller, through the control mappings and screen buttons.
//
// A game may change mappings, buttons and the controller from within any of its handlers, so nothing here keeps a
// pointer into them across a call.
#include "core/core_state.h"

#include "gl/device.h"

#include <cstring>
#include <new>

namespace
{

constexpr UINT32 kMappingStep = 16; // slots by which the table grows
constexpr KxcControlMapping kFreeMapping = {-1, -1};

// Virtual-key codes of the default mappings.
enum : INT32
{
    VKEY_RETURN = 13,
    VKEY_SPACE = 32,
    VKEY_LEFT = 37,
    VKEY_UP = 38,
    VKEY_RIGHT = 39,
    VKEY_DOWN = 40
};

constexpr KxcControlMapping kDefaultMappings[] = {
    {KXCCTRL_RIGHT, VKEY_RIGHT},
    {KXCCTRL_LEFT, VKEY_LEFT},
    {KXCCTRL_DOWN, VKEY_DOWN},
    {KXCCTRL_UP, VKEY_UP},
    {KXCCTRL_BUTTON1, VKEY_RETURN},
    {KXCCTRL_BUTTON2, VKEY_SPACE},
    {KXCCTRL_BUTTON3, KXCKEY_MIDDLEBUTTON},
    {KXCCTRL_WHEELDOWN, KXCKEY_WHEELDOWN},
    {KXCCTRL_WHEELUP, KXCKEY_WHEELUP},
    {KXCCTRL_BUTTON1, KXCKEY_APP6},
    {KXCCTRL_BUTTON2, KXCKEY_APP7},
    {KXCCTRL_BUTTON3, KXCKEY_APP5},
    {KXCCTRL_BUTTON4, KXCKEY_APP2},
    {KXCCTRL_BUTTON5, KXCKEY_APP4},
    {KXCCTRL_BUTTON6, KXCKEY_APP1},
    {KXCCTRL_BUTTON7, KXCKEY_APP3},
    {KXCCTRL_BUTTON8, KXCKEY_APP8},
};

void freeMappings()
{
    delete[] kxcCore->controlMappings;
    kxcCore->controlMappings = nullptr;
    kxcCore->controlMappingCapacity = kxcCore->controlMappingCount = 0;
}

bool growMappings()
{
    const UINT32 capacity = kxcCore->controlMappingCapacity + kMappingStep;
    KxcControlMapping* grown = new (std::nothrow) KxcControlMapping[capacity];
    if (!grown)
        return false;
    if (kxcCore->controlMappingCount > 0)
        std::memcpy(grown, kxcCore->controlMappings, kxcCore->controlMappingCount * sizeof(KxcControlMapping));
    delete[] kxcCore->controlMappings;
    kxcCore->controlMappings = grown;
    kxcCore->controlMappingCapacity = capacity;
    return true;
}

bool contains(const KxcRectangle& r, INT64 x, INT64 y)
{
    return r.x <= x && r.y <= y && x - r.x <= r.width && y - r.y <= r.height;
}

KxcScreenButton* buttonAt(INT32 x, INT32 y)
{
    KxcScreenButton* button = kxcCore->screenButtons;
    while (button && !contains(button->rectangle, x, y))
        button = button->next;
    return button;
}

void releaseHeldButton()
{
    const INT32 key = kxcCore->heldButton->key;
    kxcCore->heldButton = nullptr;
    kxcInputKey(key, false);
}

void deliverPointer(INT32 x, INT32 y, KxcPointerState state)
{
    KxcInput* controller = kxcCore->controller;
    if (!controller)
        return;
    if (state == KXCPOINTER_UP)
        controller->onPointerUp(x, y);
    else if (state == KXCPOINTER_DOWN)
        controller->onPointerDown(x, y);
    else
        controller->onPointerMove(x, y);
}

} // namespace

void kxcInputKey(INT32 code, bool down)
{
    if (!kxcCore || !kxcCore->controller)
        return;
    if (down)
        kxcCore->controller->onKeyDown(code);
    else
        kxcCore->controller->onKeyUp(code);

    for (UINT32 i = 0; i < kxcCore->controlMappingCount && kxcCore->controller; ++i)
    {
        if (kxcCore->controlMappings[i].key != code)
            continue;
        INT32 control = kxcCore->controlMappings[i].control;
        if (kxcCore->device)
            kxcCore->device->mapControlCode(control);
        if (control == -1)
            continue;
        if (down)
            kxcCore->controller->onControlDown(control);
        else
            kxcCore->controller->onControlUp(control);
    }
}

void kxcInputPointer(INT32 x, INT32 y, KxcPointerState state)
{
    if (!kxcCore || !kxcCore->controller)
        return;
    if (kxcCore->device)
        kxcCore->device->mapPointerPosition(x, y);

    KxcScreenButton* touched = buttonAt(x, y);
    if (kxcCore->heldButton && touched != kxcCore->heldButton)
    {
        releaseHeldButton();
        touched = buttonAt(x, y); // the handlers may have changed the buttons
    }
    if (kxcCore->heldButton)
    {
        if (state == KXCPOINTER_UP)
            releaseHeldButton();
    }
    else if (touched && state != KXCPOINTER_UP)
    {
        kxcCore->heldButton = touched;
        kxcInputKey(touched->key, true);
    }
    deliverPointer(x, y, state);
}

void kxcInputFree()
{
    KxcCore::resetScreenButtons();
    freeMappings();
}

void KxcCore::mapControlCode(INT32 control, INT32 key)
{
    if (!kxcCore)
        return;
    unmapControlCode(control, key);
    UINT32 slot = kxcCore->controlMappingCount;
    while (slot > 0 && kxcCore->controlMappings[slot - 1].key != -1)
        --slot;
    if (slot > 0)
    {
        kxcCore->controlMappings[slot - 1] = {control, key};
        return;
    }
    if (kxcCore->controlMappingCount == kxcCore->controlMappingCapacity && !growMappings())
        return;
    kxcCore->controlMappings[kxcCore->controlMappingCount++] = {control, key};
}

void KxcCore::unmapControlCode(INT32 control, INT32 key)
{
    if (!kxcCore)
        return;
    for (UINT32 i = 0; i < kxcCore->controlMappingCount; ++i)
    {
        KxcControlMapping& slot = kxcCore->controlMappings[i];
        if (slot.control == control && slot.key == key)
            slot = kFreeMapping;
    }
}

UINT32 KxcCore::getControlMappingCount() { return kxcCore ? kxcCore->controlMappingCount : 0; }

void KxcCore::getControlMapping(UINT32 index, INT32& control, INT32& key)
{
    const KxcControlMapping slot = index < getControlMappingCount() ? kxcCore->controlMappings[index] : kFreeMapping;
    control = slot.control;
    key = slot.key;
}

void KxcCore::resetControlMappings()
{
    if (!kxcCore)
        return;
    freeMappings();
    for (const KxcControlMapping& mapping : kDefaultMappings)
        mapControlCode(mapping.control, mapping.key);
}

void KxcCore::addScreenButton(const KxcRectangle& rectangle, INT32 key)
{
    if (!kxcCore)
        return;
    KxcScreenButton* button = new (std::nothrow) KxcScreenButton{kxcCore->screenButtons, rectangle, key};
    if (button)
        kxcCore->screenButtons = button;
}

void KxcCore::resetScreenButtons()
{
    if (!kxcCore)
        return;
    kxcCore->heldButton = nullptr;
    while (KxcScreenButton* button = kxcCore->screenButtons)
    {
        kxcCore->screenButtons = button->next;
        delete button;
    }
}

void KxcInput::onPointerDown(INT32, INT32) {}

void KxcInput::onPointerMove(INT32, INT32) {}

void KxcInput::onPointerUp(INT32, INT32) {}

void KxcInput::onKeyDown(INT32) {}

void KxcInput::onKeyUp(INT32) {}

void KxcInput::onControlDown(INT32) {}

void KxcInput::onControlUp(INT32) {}

void KxcInput::onCharEntered(char) {}

void KxcInput::onJoystickMoved(INT32, INT32) {}
