#pragma once

#include "host/VstRecords.h"

// An effect's own window inside the host's. AudioEffect::setEditor attaches it; this plug-in has none.
class AEffEditor
{
public:
    virtual ~AEffEditor() = default;

    // Sets *rect to the window's bounds in pixels, which the editor owns; returns false if there are none.
    virtual bool getRect(ERect** rect) = 0;
    // parent: the host's window. Returns false if the editor cannot be shown.
    virtual bool open(void* parent) = 0;
    virtual void close() = 0;
    virtual void idle() {}

    // Return true if the editor used the key.
    virtual bool onKeyDown(VstKeyCode& /*keyCode*/) { return false; }
    virtual bool onKeyUp(VstKeyCode& /*keyCode*/) { return false; }
    // mode: 0 circular, 1 relative circular, 2 linear. Returns false if the mode is not supported.
    virtual bool setKnobMode(VstInt32 /*mode*/) { return false; }
};
