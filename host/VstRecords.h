#pragma once

// The VST 2.4 records that operations of AudioEffectX take or return, in the interface's layout. The plug-in
// reads or writes parameter properties, speakers and key codes; the others only pass through. Texts are
// zero-terminated; lengths include the terminator.

#include "host/AEffect.h"

inline constexpr VstInt32 kVstMaxProgNameLen = 24;
inline constexpr VstInt32 kVstMaxParamStrLen = 8;  // without the terminator
inline constexpr VstInt32 kVstMaxNameLen = 64;
inline constexpr VstInt32 kVstVersion = 2400;

enum VstPlugCategory : VstInt32 {
    kPlugCategUnknown = 0,
    kPlugCategEffect,
    kPlugCategSynth,
    kPlugCategAnalysis,
    kPlugCategMastering,
    kPlugCategSpacializer,
    kPlugCategRoomFx,
    kPlugSurroundFx,
    kPlugCategRestoration,
    kPlugCategOfflineProcess,
    kPlugCategShell,
    kPlugCategGenerator
};

// ---- parameters and programs

// Bits of VstParameterProperties::flags.
enum VstParameterFlags : VstInt32 {
    kVstParameterIsSwitch = 1 << 0,
    kVstParameterUsesIntegerMinMax = 1 << 1,
    kVstParameterUsesFloatStep = 1 << 2,
    kVstParameterUsesIntStep = 1 << 3,
    kVstParameterSupportsDisplayIndex = 1 << 4,
    kVstParameterSupportsDisplayCategory = 1 << 5,
    kVstParameterCanRamp = 1 << 6
};

struct VstParameterProperties {
    float stepFloat;
    float smallStepFloat;
    float largeStepFloat;
    char label[kVstMaxNameLen];
    VstInt32 flags;  // VstParameterFlags
    VstInt32 minInteger;
    VstInt32 maxInteger;
    VstInt32 stepInteger;
    VstInt32 largeStepInteger;
    char shortLabel[8];
    VstInt16 displayIndex;
    VstInt16 category;
    VstInt16 numParametersInCategory;
    VstInt16 reserved;
    char categoryLabel[24];
    char future[16];
};
static_assert(sizeof(VstParameterProperties) == 152);

struct VstPatchChunkInfo {
    VstInt32 version;
    VstInt32 pluginUniqueID;
    VstInt32 pluginVersion;
    VstInt32 numElements;  // programs of a bank, parameters of a program
    char future[48];
};

// ---- channels

struct VstPinProperties {
    char label[kVstMaxNameLen];
    VstInt32 flags;
    VstInt32 arrangementType;
    char shortLabel[8];
    char future[48];
};

struct VstSpeakerProperties {
    float azimuth;    // rad
    float elevation;  // rad
    float radius;     // m
    float reserved;
    char name[kVstMaxNameLen];
    VstInt32 type;
    char future[28];
};
static_assert(sizeof(VstSpeakerProperties) == 112);

struct VstSpeakerArrangement {
    VstInt32 type;
    VstInt32 numChannels;
    VstSpeakerProperties speakers[8];  // numChannels of them, which may be more than 8
};
static_assert(offsetof(VstSpeakerArrangement, speakers) == 8);

struct VstVariableIo {
    float** inputs;
    float** outputs;
    VstInt32 numSamplesInput;
    VstInt32 numSamplesOutput;
    VstInt32* numSamplesInputProcessed;
    VstInt32* numSamplesOutputProcessed;
};

// ---- time and events

struct VstTimeInfo {
    double samplePos;    // samples since the start of the project
    double sampleRate;   // Hz
    double nanoSeconds;  // system time
    double ppqPos;       // quarter notes
    double tempo;        // beats per minute
    double barStartPos;  // quarter notes
    double cycleStartPos;
    double cycleEndPos;
    VstInt32 timeSigNumerator;
    VstInt32 timeSigDenominator;
    VstInt32 smpteOffset;
    VstInt32 smpteFrameRate;
    VstInt32 samplesToNextClock;
    VstInt32 flags;
};

struct VstEvent {
    VstInt32 type;
    VstInt32 byteSize;
    VstInt32 deltaFrames;
    VstInt32 flags;
    char data[16];
};

struct VstEvents {
    VstInt32 numEvents;
    VstIntPtr reserved;
    VstEvent* events[2];  // numEvents of them
};

// ---- MIDI programs

struct MidiProgramName {
    VstInt32 thisProgramIndex;
    char name[kVstMaxNameLen];
    char midiProgram;
    char midiBankMsb;
    char midiBankLsb;
    char reserved;
    VstInt32 parentCategoryIndex;
    VstInt32 flags;
};

struct MidiProgramCategory {
    VstInt32 thisCategoryIndex;
    char name[kVstMaxNameLen];
    VstInt32 parentCategoryIndex;
    VstInt32 flags;
};

struct MidiKeyName {
    VstInt32 thisProgramIndex;
    VstInt32 thisKeyNumber;
    char keyName[kVstMaxNameLen];
    VstInt32 reserved;
    VstInt32 flags;
};

// ---- offline processing

enum VstOfflineOption : VstInt32 {
    kVstOfflineAudio = 0,
    kVstOfflinePeaks,
    kVstOfflineParameter,
    kVstOfflineMarker,
    kVstOfflineCursor,
    kVstOfflineSelection,
    kVstOfflineQueryFiles
};

struct VstOfflineTask {
    char processName[96];
    double readPosition;   // frames
    double writePosition;  // frames
    VstInt32 readCount;
    VstInt32 writeCount;
    VstInt32 sizeInputBuffer;
    VstInt32 sizeOutputBuffer;
    void* inputBuffer;
    void* outputBuffer;
    double positionToProcessFrom;
    double numFramesToProcess;
    double maxFramesToWrite;
    void* extraBuffer;
    VstInt32 value;
    VstInt32 index;
    double numFramesInSourceFile;
    double sourceSampleRate;
    double destinationSampleRate;
    VstInt32 numSourceChannels;
    VstInt32 numDestinationChannels;
    VstInt32 sourceFormat;
    VstInt32 destinationFormat;
    char outputText[512];
    double progress;
    VstInt32 progressMode;
    char progressText[100];
    VstInt32 flags;
    VstInt32 returnValue;
    void* hostOwned;
    void* plugOwned;
    char future[1024];
};

struct VstAudioFile {
    VstInt32 flags;
    void* hostOwned;
    void* plugOwned;
    char name[100];
    VstInt32 uniqueId;
    double sampleRate;
    VstInt32 numChannels;
    double numFrames;
    VstInt32 format;
    double editCursorPosition;
    double selectionStart;
    double selectionSize;
    VstInt32 selectedChannelsMask;
    VstInt32 numMarkers;
    VstInt32 timeRulerUnit;
    double timeRulerOffset;
    double tempo;
    VstInt32 timeSigNumerator;
    VstInt32 timeSigDenominator;
    VstInt32 ticksPerBlackNote;
    VstInt32 smpteFrameRate;
    char future[64];
};

// ---- files, keys, windows

struct VstFileType {
    char name[128];
    char macType[8];
    char dosType[8];
    char unixType[8];
    char mimeType1[128];
    char mimeType2[128];
};

struct VstFileSelect {
    VstInt32 command;
    VstInt32 type;
    VstInt32 macCreator;
    VstInt32 nbFileTypes;
    VstFileType* fileTypes;
    char title[1024];
    char* initialPath;
    char* returnPath;
    VstInt32 sizeReturnPath;
    char** returnMultiplePaths;
    VstInt32 nbReturnPath;
    VstIntPtr reserved;
    char future[116];
};

struct VstKeyCode {
    VstInt32 character;
    unsigned char virt;
    unsigned char modifier;
};

struct ERect {
    VstInt16 top;
    VstInt16 left;
    VstInt16 bottom;
    VstInt16 right;
};

struct __VstWindowDeprecated {
    char title[128];
    VstInt16 xPos;
    VstInt16 yPos;
    VstInt16 width;
    VstInt16 height;
    VstInt32 style;
    void* parent;
    void* userHandle;
    void* winHandle;
    char future[104];
};
