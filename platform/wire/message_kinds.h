// The numbers of the message kinds.
#pragma once

#include <cstdint>

#include "platform/wire/messages.h"

namespace wire {

// 0x01nn and 0x02nn: control channel (to and from the service); 0x03nn: event channel; 0x04nn: graph channel. A number
// never changes its meaning within a protocol version.
template <class M>
inline constexpr std::uint16_t KindOf = 0;
template <>
inline constexpr std::uint16_t KindOf<Hello> = 0x0101;
template <>
inline constexpr std::uint16_t KindOf<Goodbye> = 0x0102;
template <>
inline constexpr std::uint16_t KindOf<Tap> = 0x0103;
template <>
inline constexpr std::uint16_t KindOf<Untap> = 0x0104;
template <>
inline constexpr std::uint16_t KindOf<UntapAll> = 0x0105;
template <>
inline constexpr std::uint16_t KindOf<Patch> = 0x0106;
template <>
inline constexpr std::uint16_t KindOf<AskTopology> = 0x0107;
template <>
inline constexpr std::uint16_t KindOf<AskLinks> = 0x0108;
template <>
inline constexpr std::uint16_t KindOf<Send> = 0x0109;
template <>
inline constexpr std::uint16_t KindOf<Inject> = 0x010A;
template <>
inline constexpr std::uint16_t KindOf<AskStats> = 0x010B;
template <>
inline constexpr std::uint16_t KindOf<AskOriginals> = 0x010C;
template <>
inline constexpr std::uint16_t KindOf<Welcome> = 0x0201;
template <>
inline constexpr std::uint16_t KindOf<Result> = 0x0202;
template <>
inline constexpr std::uint16_t KindOf<Topology> = 0x0203;
template <>
inline constexpr std::uint16_t KindOf<Links> = 0x0204;
template <>
inline constexpr std::uint16_t KindOf<Taken> = 0x0205;
template <>
inline constexpr std::uint16_t KindOf<Stats> = 0x0207;
template <>
inline constexpr std::uint16_t KindOf<Originals> = 0x0208;
template <>
inline constexpr std::uint16_t KindOf<OpenEvents> = 0x0301;
template <>
inline constexpr std::uint16_t KindOf<Consumed> = 0x0302;
template <>
inline constexpr std::uint16_t KindOf<Events> = 0x0303;
template <>
inline constexpr std::uint16_t KindOf<TopologyChanged> = 0x0304;
template <>
inline constexpr std::uint16_t KindOf<OpenGraph> = 0x0401;
template <>
inline constexpr std::uint16_t KindOf<GraphSeen> = 0x0402;
template <>
inline constexpr std::uint16_t KindOf<GraphChanged> = 0x0403;
template <>
inline constexpr std::uint16_t KindOf<GraphStale> = 0x0404;

}  // namespace wire
