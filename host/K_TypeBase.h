#pragma once

#include "host/AudioEffectX.h"

class K_VstListner;  // the host's; only its address passes through here

// The vendor's extension of the effect interface: connections, the text of a value that is not set, a
// listener and a time. No opcode reaches these operations: the vendor's host calls them on the object
// itself, through the table that AudioEffect begins, from any thread. Every jack number gets the same
// answer, one beyond the last jack too.
class K_TypeBase : public AudioEffectX
{
public:
    using AudioEffectX::AudioEffectX;

    virtual VstInt32 getNumOfInJacks() { return 1; }
    virtual VstInt32 getNumOfOutJacks() { return 1; }
    virtual VstInt32 getNumOfInSig(VstInt32 /*jack*/) { return 2; }
    virtual VstInt32 getNumOfOutSig(VstInt32 /*jack*/) { return 1; }
    virtual VstInt32 getStartNumInSig(VstInt32 /*jack*/) { return 0; }
    virtual VstInt32 getStartNumOutSig(VstInt32 /*jack*/) { return 0; }
    virtual VstInt32 getDryInSigNum() { return -1; }  // input signal that carries the dry sound; -1: none
    virtual void setListner(K_VstListner* /*listener*/) {}

    // The text of parameter index as it would be at this value: 8 characters and a terminator.
    virtual void getParameterDisplayOf(VstInt32 /*index*/, float /*value*/, char* /*text*/) {}

    virtual VstInt32 getHeaderVersion() { return headerVersion; }  // of this extension
    virtual void setTime(float /*time*/) {}

private:
    VstInt32 headerVersion = 1;
};
