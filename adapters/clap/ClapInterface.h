#pragma once

// The CLAP 1.2 binary interface, as far as an effect without a window needs it: records of functions that
// host and plug-in give each other. Order, sizes and values are read by hosts. Nothing is packed; strings
// are zero-terminated UTF-8. [main]: the host's main thread; [audio]: the one thread at a time that has the
// audio role for an instance; [any]: any thread. main and audio functions run concurrently.

#include <cstddef>
#include <cstdint>

namespace clap
{

using Id = std::uint32_t;
inline constexpr Id kInvalidId = 0xFFFFFFFF;

inline constexpr std::size_t kNameSize = 256;  // bytes of a name field, its zero included
inline constexpr std::size_t kPathSize = 1024;

struct Version {
    std::uint32_t major, minor, revision;
};
inline constexpr Version kVersion{1, 2, 10};  // that these declarations follow

// Versions from 1.0 on are compatible with each other; those before it with none.
constexpr bool isCompatible(const Version& version)
{
    return version.major >= 1;
}

// What the library exports: a constant of this type, named clap_entry. init and deinit come in pairs, which
// may nest, never concurrently; getFactory [any] returns null for an unknown id.
struct Entry {
    Version version;
    bool (*init)(const char* pluginPath);
    void (*deinit)();
    const void* (*getFactory)(const char* id);
};

struct Descriptor {
    Version version;
    const char* id;  // saved in people's sessions: never changes
    const char* name;
    const char* vendor;
    const char* url;
    const char* manualUrl;
    const char* supportUrl;
    const char* pluginVersion;
    const char* description;
    const char* const* features;  // ends with null
};

// [any], but for requests made before the plug-in's init.
struct Host {
    Version version;
    void* data;
    const char* name;
    const char* vendor;
    const char* url;
    const char* hostVersion;
    const void* (*getExtension)(const Host*, const char* id);
    void (*requestRestart)(const Host*);
    void (*requestProcess)(const Host*);
    void (*requestCallback)(const Host*);
};

inline constexpr std::uint16_t kCoreSpace = 0;  // the event space whose types these are:
enum EventType : std::uint16_t { kParamValue = 5, kParamModulation = 6 };

struct Event {
    std::uint32_t size;  // bytes, of the whole event
    std::uint32_t time;  // samples from the block's start
    std::uint16_t space;
    std::uint16_t type;
    std::uint32_t flags;
};

struct ParamEvent {
    Event header;
    Id param;
    void* cookie;
    std::int32_t note;  // -1 for all, as in the next three
    std::int16_t port;
    std::int16_t channel;
    std::int16_t key;
    double value;  // of a modulation: what it adds to the parameter's value
};

// Sorted by time. index: below size.
struct InputEvents {
    void* context;
    std::uint32_t (*size)(const InputEvents*);
    const Event* (*get)(const InputEvents*, std::uint32_t index);
};

struct OutputEvents {
    void* context;
    bool (*tryPush)(const OutputEvents*, const Event*);
};

// One of the two kinds of data is null; the other has a pointer for each channel.
struct AudioBuffer {
    float** data32;
    double** data64;
    std::uint32_t channelCount;
    std::uint32_t latency;
    std::uint64_t constantMask;  // bit k: channel k holds one value throughout
};

struct Process {
    std::int64_t steadyTime;
    std::uint32_t frames;
    const void* transport;  // null in a free-running host
    const AudioBuffer* inputs;
    AudioBuffer* outputs;
    std::uint32_t inputCount;
    std::uint32_t outputCount;
    const InputEvents* inEvents;
    const OutputEvents* outEvents;
};

enum ProcessStatus : std::int32_t {
    kProcessError = 0,
    kProcessContinue = 1,
    kProcessSleep = 4,  // no call is needed until there is input or an event
};

// made -> init -> inactive -> activate -> active -> startProcessing -> processing, and back.
struct Plugin {
    const Descriptor* descriptor;
    void* data;
    bool (*init)(const Plugin*);
    void (*destroy)(const Plugin*);
    bool (*activate)(const Plugin*, double sampleRate, std::uint32_t minFrames, std::uint32_t maxFrames);
    void (*deactivate)(const Plugin*);
    bool (*startProcessing)(const Plugin*);
    void (*stopProcessing)(const Plugin*);
    void (*reset)(const Plugin*);
    ProcessStatus (*process)(const Plugin*, const Process*);
    const void* (*getExtension)(const Plugin*, const char* id);
    void (*onMainThread)(const Plugin*);
};

inline constexpr const char* kPluginFactory = "clap.plugin-factory";
struct PluginFactory {  // [any]
    std::uint32_t (*count)(const PluginFactory*);
    const Descriptor* (*descriptor)(const PluginFactory*, std::uint32_t index);
    const Plugin* (*create)(const PluginFactory*, const Host*, const char* id);
};

inline constexpr const char* kAudioPorts = "clap.audio-ports";
enum AudioPortFlags : std::uint32_t {
    kPortIsMain = 1 << 0,
    kPortSupports64Bits = 1 << 1,
    kPortPrefers64Bits = 1 << 2,
    kPortNeedsOneSampleSize = 1 << 3,  // never float on one side and double on the other
};
struct AudioPortInfo {
    Id id;
    char name[kNameSize];
    std::uint32_t flags;
    std::uint32_t channelCount;
    const char* portType;
    Id inPlacePair;  // the port in the other direction that may share its buffer
};
struct AudioPorts {  // [main]
    std::uint32_t (*count)(const Plugin*, bool isInput);
    bool (*get)(const Plugin*, std::uint32_t index, bool isInput, AudioPortInfo*);
};

inline constexpr const char* kParams = "clap.params";
enum ParamFlags : std::uint32_t {
    kParamIsStepped = 1 << 0,
    kParamIsBypass = 1 << 4,
    kParamIsAutomatable = 1 << 5,
    kParamIsModulatable = 1 << 10,
};
struct ParamInfo {
    Id id;
    std::uint32_t flags;
    void* cookie;  // comes back in events
    char name[kNameSize];
    char module[kPathSize];
    double minValue, maxValue, defaultValue;
};
struct Params {  // [main]; flush while active [audio]
    std::uint32_t (*count)(const Plugin*);
    bool (*getInfo)(const Plugin*, std::uint32_t index, ParamInfo*);
    bool (*getValue)(const Plugin*, Id, double* value);
    bool (*valueToText)(const Plugin*, Id, double value, char* text, std::uint32_t capacity);
    bool (*textToValue)(const Plugin*, Id, const char* text, double* value);
    void (*flush)(const Plugin*, const InputEvents*, const OutputEvents*);
};
inline constexpr std::uint32_t kRescanValues = 1 << 0;
struct HostParams {
    void (*rescan)(const Host*, std::uint32_t flags);  // [main]
    void (*clear)(const Host*, Id, std::uint32_t flags);
    void (*requestFlush)(const Host*);
};

// Streams give and take as many bytes as they like: 0 is the end, below 0 an error.
struct InputStream {
    void* context;
    std::int64_t (*read)(const InputStream*, void* bytes, std::uint64_t size);
};
struct OutputStream {
    void* context;
    std::int64_t (*write)(const OutputStream*, const void* bytes, std::uint64_t size);
};
inline constexpr const char* kState = "clap.state";
struct State {  // [main]
    bool (*save)(const Plugin*, const OutputStream*);
    bool (*load)(const Plugin*, const InputStream*);
};

inline constexpr const char* kTail = "clap.tail";        // [main, audio]
inline constexpr const char* kLatency = "clap.latency";  // [main]
struct FrameCount {
    std::uint32_t (*get)(const Plugin*);
};

enum LocationKind : std::uint32_t { kInFile = 0, kInPlugin = 1 };
inline constexpr const char* kPresetLoad = "clap.preset-load/2";
inline constexpr const char* kPresetLoadDraft = "clap.preset-load.draft/2";
struct PresetLoad {  // [main]
    bool (*fromLocation)(const Plugin*, std::uint32_t kind, const char* location, const char* loadKey);
};
struct HostPresetLoad {  // [main]
    void (*onError)(const Host*, std::uint32_t kind, const char* location, const char* loadKey,
                    std::int32_t systemError, const char* message);
    void (*loaded)(const Host*, std::uint32_t kind, const char* location, const char* loadKey);
};

inline constexpr const char* kRemoteControls = "clap.remote-controls/2";
inline constexpr const char* kRemoteControlsDraft = "clap.remote-controls.draft/2";
struct RemoteControlsPage {
    char sectionName[kNameSize];
    Id id;
    char name[kNameSize];
    Id params[8];
    bool isForPreset;
};
struct RemoteControls {  // [main]
    std::uint32_t (*count)(const Plugin*);
    bool (*get)(const Plugin*, std::uint32_t index, RemoteControlsPage*);
};

// Preset discovery: lists presets without an instance. A provider and what it is given belong to one thread.
struct ProviderDescriptor {
    Version version;
    const char* id;
    const char* name;
    const char* vendor;
};
enum LocationFlags : std::uint32_t { kFactoryContent = 1 << 0 };
struct Location {
    std::uint32_t flags;
    const char* name;
    std::uint32_t kind;
    const char* path;  // null in the plug-in
};
struct Indexer {  // the host's
    Version version;
    const char* name;
    const char* vendor;
    const char* url;
    const char* hostVersion;
    void* data;
    bool (*declareFiletype)(const Indexer*, const void*);
    bool (*declareLocation)(const Indexer*, const Location*);
    bool (*declareSoundpack)(const Indexer*, const void*);
    const void* (*getExtension)(const Indexer*, const char* id);
};
struct PluginId {
    const char* abi;  // "clap"
    const char* id;
};
struct MetadataReceiver {  // the host's
    void* data;
    void (*onError)(const MetadataReceiver*, std::int32_t systemError, const char* message);
    bool (*beginPreset)(const MetadataReceiver*, const char* name, const char* loadKey);  // false: stop
    void (*addPluginId)(const MetadataReceiver*, const PluginId*);
    void (*setSoundpackId)(const MetadataReceiver*, const char* id);
    void (*setFlags)(const MetadataReceiver*, std::uint32_t flags);
    void (*addCreator)(const MetadataReceiver*, const char* creator);
    void (*setDescription)(const MetadataReceiver*, const char* description);
    void (*setTimestamps)(const MetadataReceiver*, std::uint64_t created, std::uint64_t modified);
    void (*addFeature)(const MetadataReceiver*, const char* feature);
    void (*addExtraInfo)(const MetadataReceiver*, const char* key, const char* value);
};
struct Provider {
    const ProviderDescriptor* descriptor;
    void* data;
    bool (*init)(const Provider*);  // declares locations
    void (*destroy)(const Provider*);
    bool (*getMetadata)(const Provider*, std::uint32_t kind, const char* location, const MetadataReceiver*);
    const void* (*getExtension)(const Provider*, const char* id);
};
inline constexpr const char* kPresetDiscoveryFactory = "clap.preset-discovery-factory/2";
inline constexpr const char* kPresetDiscoveryFactoryDraft = "clap.preset-discovery-factory/draft-2";
struct PresetDiscoveryFactory {  // [any]
    std::uint32_t (*count)(const PresetDiscoveryFactory*);
    const ProviderDescriptor* (*descriptor)(const PresetDiscoveryFactory*, std::uint32_t index);
    const Provider* (*create)(const PresetDiscoveryFactory*, const Indexer*, const char* id);
};

// The layout, in bytes: with pointers of 64 bits; of 32 bits; and of 32 bits where 8-byte numbers are aligned
// to 8, as on Windows and ARM, and not to 4, as on x86 elsewhere.
constexpr std::size_t bytes(std::size_t on64, std::size_t on32, std::size_t on32Aligned)
{
    struct Aligned {
        char first;
        double second;
    };
    return sizeof(void*) == 8 ? on64 : offsetof(Aligned, second) == 8 ? on32Aligned : on32;
}
constexpr std::size_t bytes(std::size_t on64, std::size_t on32)
{
    return bytes(on64, on32, on32);
}

static_assert(sizeof(Version) == 12);
static_assert(offsetof(Entry, init) == bytes(16, 12) && sizeof(Entry) == bytes(40, 24));
static_assert(offsetof(Descriptor, id) == bytes(16, 12) && offsetof(Descriptor, features) == bytes(80, 44) &&
              sizeof(Descriptor) == bytes(88, 48));
static_assert(offsetof(Host, data) == bytes(16, 12) && offsetof(Host, getExtension) == bytes(56, 32) &&
              sizeof(Host) == bytes(88, 48));
static_assert(offsetof(Event, space) == 8 && offsetof(Event, flags) == 12 && sizeof(Event) == 16);
static_assert(offsetof(ParamEvent, cookie) == bytes(24, 20) && offsetof(ParamEvent, note) == bytes(32, 24) &&
              offsetof(ParamEvent, key) == bytes(40, 32) &&
              offsetof(ParamEvent, value) == bytes(48, 36, 40) && sizeof(ParamEvent) == bytes(56, 44, 48));
static_assert(offsetof(InputEvents, size) == bytes(8, 4) && offsetof(InputEvents, get) == bytes(16, 8));
static_assert(offsetof(OutputEvents, tryPush) == bytes(8, 4));
static_assert(offsetof(AudioBuffer, channelCount) == bytes(16, 8) &&
              offsetof(AudioBuffer, constantMask) == bytes(24, 16) && sizeof(AudioBuffer) == bytes(32, 24));
static_assert(offsetof(Process, frames) == 8 && offsetof(Process, transport) == bytes(16, 12) &&
              offsetof(Process, inputs) == bytes(24, 16) && offsetof(Process, inputCount) == bytes(40, 24) &&
              offsetof(Process, inEvents) == bytes(48, 32) && sizeof(Process) == bytes(64, 40));
static_assert(offsetof(Plugin, init) == bytes(16, 8) && sizeof(Plugin) == bytes(96, 48));
static_assert(offsetof(AudioPortInfo, flags) == 260 && offsetof(AudioPortInfo, portType) == bytes(272, 268) &&
              sizeof(AudioPortInfo) == bytes(288, 276));
static_assert(offsetof(ParamInfo, cookie) == 8 && offsetof(ParamInfo, name) == bytes(16, 12) &&
              offsetof(ParamInfo, module) == bytes(272, 268) &&
              offsetof(ParamInfo, minValue) == bytes(1296, 1292, 1296) &&
              offsetof(ParamInfo, defaultValue) == bytes(1312, 1308, 1312) &&
              sizeof(ParamInfo) == bytes(1320, 1316, 1320));
static_assert(offsetof(InputStream, read) == bytes(8, 4) && offsetof(OutputStream, write) == bytes(8, 4));
static_assert(offsetof(RemoteControlsPage, id) == 256 && offsetof(RemoteControlsPage, params) == 516 &&
              offsetof(RemoteControlsPage, isForPreset) == 548 && sizeof(RemoteControlsPage) == 552);
static_assert(offsetof(ProviderDescriptor, id) == bytes(16, 12) &&
              sizeof(ProviderDescriptor) == bytes(40, 24));
static_assert(offsetof(Location, name) == bytes(8, 4) && offsetof(Location, path) == bytes(24, 12) &&
              sizeof(Location) == bytes(32, 16));
static_assert(offsetof(Indexer, data) == bytes(48, 28) &&
              offsetof(Indexer, declareFiletype) == bytes(56, 32) && sizeof(Indexer) == bytes(88, 48));
static_assert(offsetof(MetadataReceiver, onError) == bytes(8, 4) &&
              sizeof(MetadataReceiver) == bytes(88, 44));
static_assert(offsetof(Provider, init) == bytes(16, 8) && sizeof(Provider) == bytes(48, 24));

}  // namespace clap
