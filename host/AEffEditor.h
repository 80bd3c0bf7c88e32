#pragma once

#include "host/VstRecords.h"

// A window of the effect's own inside the host. AudioEffect::setEditor attaches one; this plug-in has none.
class AEffEditor
{
public:
    virtual ~AEffEditor() = default;

    // Stores in *rect a pointer to the window's bounds in pixels; false where there are none.
    virtual bool getRect(ERect** rect) = 0;
    // parent: the host's window. False when the editor cannot be shown.
    virtual bool open(void* parent) = 0;
    virtual void close() = 0;
    virtual void idle() {}

    // True when the key was used.
    virtual bool onKeyDown(VstKeyCode& /*keyCode*/) { return false; }
    virtual bool onKeyUp(VstKeyCode& /*keyCode*/) { return false; }
    // mode: 0 circular, 1 relative circular, 2 linear. False when the mode is not supported.
    virtual bool setKnobMode(VstInt32 /*mode*/) { return false; }
};
