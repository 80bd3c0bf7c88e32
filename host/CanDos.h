#pragma once

// Names of capabilities: the host's, for AudioEffectX::canHostDo, and the plug-in's, for canDo.

namespace HostCanDos
{
inline constexpr char canDoSendVstEvents[] = "sendVstEvents";
inline constexpr char canDoSendVstMidiEvent[] = "sendVstMidiEvent";
inline constexpr char canDoSendVstTimeInfo[] = "sendVstTimeInfo";
inline constexpr char canDoReceiveVstEvents[] = "receiveVstEvents";
inline constexpr char canDoReceiveVstMidiEvent[] = "receiveVstMidiEvent";
inline constexpr char canDoReportConnectionChanges[] = "reportConnectionChanges";
inline constexpr char canDoAcceptIOChanges[] = "acceptIOChanges";
inline constexpr char canDoSizeWindow[] = "sizeWindow";
inline constexpr char canDoOffline[] = "offline";
inline constexpr char canDoOpenFileSelector[] = "openFileSelector";
inline constexpr char canDoCloseFileSelector[] = "closeFileSelector";
inline constexpr char canDoStartStopProcess[] = "startStopProcess";
inline constexpr char canDoShellCategory[] = "shellCategory";
inline constexpr char canDoSendVstMidiEventFlagIsRealtime[] = "sendVstMidiEventFlagIsRealtime";
}  // namespace HostCanDos

namespace PlugCanDos
{
inline constexpr char canDoSendVstEvents[] = "sendVstEvents";
inline constexpr char canDoSendVstMidiEvent[] = "sendVstMidiEvent";
inline constexpr char canDoReceiveVstEvents[] = "receiveVstEvents";
inline constexpr char canDoReceiveVstMidiEvent[] = "receiveVstMidiEvent";
inline constexpr char canDoReceiveVstTimeInfo[] = "receiveVstTimeInfo";
inline constexpr char canDoOffline[] = "offline";
inline constexpr char canDoMidiProgramNames[] = "midiProgramNames";
inline constexpr char canDoBypass[] = "bypass";
}  // namespace PlugCanDos
