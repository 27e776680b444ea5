#pragma once

// One second-order filter section for one channel, direct form 1, in 32-bit float. Belongs to the thread that
// runs it.

class FBiquad {
public:
    FBiquad() = default;
    FBiquad(const FBiquad&) = default;
    FBiquad(FBiquad&&) = default;
    FBiquad& operator=(const FBiquad&) = default;
    FBiquad& operator=(FBiquad&&) = default;
    virtual ~FBiquad() = default;

    /// The next output sample. A result below the smallest normal float becomes 0.0, so that silence costs no
    /// more than sound.
    float process(float x) {
        const float y = flushed(b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2);
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }

    /// Clears the four history values.
    void reset() { x1 = x2 = y1 = y2 = 0.0f; }

    [[nodiscard]] static float flushed(float y) {
        return y > -kSmallestNormal && y < kSmallestNormal ? 0.0f : y;
    }

    float b0 = 1.0f; ///< feed-forward, of x[n]
    float b1 = 0.0f; ///< of x[n-1]
    float b2 = 0.0f; ///< of x[n-2]
    float a1 = 0.0f; ///< feedback, of y[n-1]
    float a2 = 0.0f; ///< of y[n-2]
    float x1 = 0.0f; ///< input history
    float x2 = 0.0f;
    float y1 = 0.0f; ///< output history
    float y2 = 0.0f;

private:
    static constexpr float kSmallestNormal = 1.1754944e-38f;
};
