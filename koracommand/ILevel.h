#pragma once

#include <cstdint>
#include <span>

/// What a level tells of the source of one controller output, in the order of a short entry of a status response. A
/// plain value.
struct OutputSource
{
    std::uint32_t result = 0; ///< a code of `ResultCode.h`
    std::uint32_t controllerInput = 0;

    bool operator==(const OutputSource&) const = default;
};

/// The same and the lock, in the order of a long entry. A plain value.
struct OutputStatus
{
    std::uint32_t result = 0; ///< a code of `ResultCode.h`
    std::uint32_t controllerInput = 0;
    std::uint32_t lprState = 0; ///< 0 released, 1 locked, 2 protected
    std::uint32_t lprId = 0;

    bool operator==(const OutputStatus&) const = default;
};

/// One controller-visible view of the router: a block of controller inputs and one of controller outputs. Numbers are
/// controller numbers unless they are called macro crosspoints. Result codes are those of `ResultCode.h`.
/// Apartment-bound: every operation runs on the bridge apartment, except `show`, which reads constants only and may run
/// on any thread.
class ILevel
{
public:
    ILevel() = default;
    ILevel(const ILevel&) = delete;
    ILevel& operator=(const ILevel&) = delete;

    /// True when the two describe the same level.
    virtual bool isSame(const ILevel& other) const = 0;

    /// Routes an input to an output. `when` is a packed timecode.
    virtual std::uint32_t take(std::uint32_t lprId, std::uint32_t controllerInput, std::uint32_t controllerOutput,
                               std::uint32_t when) = 0;

    /// Locks, protects or releases an output; `lprCommand` is 0 release, 1 lock, 2 protect, 16 forced release.
    virtual std::uint32_t setOutputLPR(std::uint32_t controllerOutput, std::uint32_t lprCommand, std::uint32_t lprId,
                                       std::uint32_t when) = 0;

    /// The status in force; `lprState` in controller codes (0 released, 1 locked, 2 protected).
    virtual std::uint32_t getOutputStatus(std::uint32_t controllerOutput, std::uint32_t& controllerInput,
                                          std::uint32_t& lprState, std::uint32_t& lprId) = 0;

    /// The same for as many consecutive outputs as `statuses` holds, beginning with `firstOutput`; numbers wrap as
    /// unsigned ones do.
    virtual void getOutputStatuses(std::uint32_t firstOutput, std::span<OutputStatus> statuses)
    {
        for (OutputStatus& status : statuses)
        {
            status = {};
            status.result = getOutputStatus(firstOutput++, status.controllerInput, status.lprState, status.lprId);
        }
    }

    /// The sources alone.
    virtual void getOutputStatuses(std::uint32_t firstOutput, std::span<OutputSource> sources)
    {
        for (OutputSource& source : sources)
        {
            source = {};
            OutputStatus unused;
            source.result = getOutputStatus(firstOutput++, source.controllerInput, unused.lprState, unused.lprId);
        }
    }

    /// Starts a walk over the outputs that changed for a connection (index 0 to 15).
    virtual void beginOutputChanges(std::uint32_t connectionIndex) = 0;

    /// The next changed output of the walk with its status; false when there is none left.
    virtual bool getNextOutputChange(std::uint32_t& statusResult, std::uint32_t& controllerOutput,
                                     std::uint32_t& controllerInput, std::uint32_t& lprState, std::uint32_t& lprId) = 0;

    /// The source of a macro crosspoint output changed, for all connections.
    virtual void noteSourceChange(std::uint32_t xptOutput) = 0;

    /// The holder or the lock state of a macro crosspoint output changed, for all connections.
    virtual void noteLprChange(std::uint32_t xptOutput) = 0;

    /// Marks every output changed for a connection (index 0 to 15).
    virtual void notifyNewConnection(std::uint32_t connectionIndex) = 0;

    /// Prints one line describing the level to the console.
    virtual void show() const = 0;

    virtual ~ILevel() = default;
};
