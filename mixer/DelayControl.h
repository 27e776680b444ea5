#pragma once

// Watches how much sound lies before a reader of a ring, and decides whether the reader has to go faster or
// slower so that its delay stays what it is.
//
// Packets and reads come in steps and late, so a single look tells little. What counts is the least that was
// left in a second: how much would remain if the next packet came later than the next read but one. The
// middle one of five such seconds is compared with what it was when the source began. A second with one late
// packet changes nothing.
//
// A source that is silent for 100 ms has stopped; when it begins again, its delay is learned anew. One that
// comes late for a moment has its delay brought back afterwards.
//
// Belongs to the reader. Plain arithmetic: no allocation, no lock, no system call, no clock but the frames
// that are asked for.

#include <array>
#include <cstddef>
#include <cstdint>

enum class ReadSpeed : std::uint8_t { Exact, Faster, Slower };

class DelayControl {
public:
    /// One look before each read: `readable` frames lie in the ring, `frameCount` are asked for.
    void observe(std::uint32_t readable, std::uint32_t frameCount);

    /// As of the last look.
    [[nodiscard]] ReadSpeed speed() const { return decided; }

    /// Forgets the source and learns its delay anew, at most kLongestLearned beyond what is needed.
    void forget();
    /// The same, but keeps whatever delay it finds: for a reader that begins behind the writer on purpose.
    void forgetAndKeepAnyDelay();

    static constexpr std::uint32_t kSecondFrames = 48'000;
    static constexpr std::size_t kSeconds = 5;            ///< of which the middle one counts
    static constexpr std::uint32_t kStoppedAfter = 4'800; ///< frames without sound
    // The rest in frames of what is left when the next packet is late.
    static constexpr std::int32_t kNeeded = 24;          ///< 0.5 ms; with less the reader is slowed down
    static constexpr std::int32_t kLeastLearned = 72;    ///< 1.5 ms
    static constexpr std::int32_t kLongestLearned = 552; ///< 11.5 ms
    static constexpr std::int32_t kSlack = 240;          ///< 5 ms, off which the delay is left alone
    /// The mean delay, in frames, above which no reader is slowed down any more: 50 ms.
    static constexpr std::uint32_t kLongestDelay = 2'400;

private:
    void endSecond();
    void decide(std::int32_t left, std::uint32_t meanDelay);

    std::array<std::int32_t, kSeconds> leastLeft{}; // of the last seconds, in turns
    std::size_t seconds = 0;                        // seen since the source began
    std::int32_t least = 0;                         // of this second, as are the next three
    std::uint32_t framesAsked = 0;
    std::uint32_t looks = 0;
    std::uint64_t delays = 0; // sum over the looks
    std::uint32_t emptyFrames = 0;
    std::int32_t kept = 0;          // what is to be left
    std::uint32_t longestDelay = 0; // on average, for a reader to be slowed down
    bool playing = false;
    bool keepsAnyDelay = false;
    ReadSpeed decided = ReadSpeed::Exact;
};
