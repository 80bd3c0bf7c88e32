#pragma once

#include "host/AudioEffectX.h"

class K_VstListner;  // defined by the host, never dereferenced here

// The vendor's extension of the effect interface: jacks and their signals, the text of a given parameter
// value, a listener and a time. No opcode reaches these operations: the vendor's host calls them by their
// position in the object's table (see AudioEffect), from any thread. The jack number does not matter: every
// jack, also one that does not exist, has the same signals.
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
    virtual VstInt32 getDryInSigNum() { return -1; }  // number of the dry input signal; -1: none
    virtual void setListner(K_VstListner* /*listener*/) {}

    // Writes what getParameterDisplay would write if the parameter had this value.
    virtual void getParameterDisplayOf(VstInt32 /*index*/, float /*value*/, char* /*text*/) {}

    virtual VstInt32 getHeaderVersion() { return headerVersion; }  // of this extension interface
    virtual void setTime(float /*time*/) {}

private:
    VstInt32 headerVersion = 1;
};
