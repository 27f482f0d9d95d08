#pragma once

#include "ddskorabridge/IXptStatus.h"
#include "ddskorabridge/IXptTarget.h"
#include "ddskorabridge/LevelOutputChanges.h"
#include "ddskorabridge/Mapping.h"
#include "koracommand/ILevel.h"

#include <log4cxx/logger.h>

#include <memory>
#include <span>

/// A level of the router: translates controller numbers to macro crosspoints, checks takes and locks against the
/// targets, sets them, and answers from the status. Every crosspoint of an output must pass before any is set. A
/// refusal is a result code and changes nothing; a bus failure while setting leaves as an exception. Shared by the
/// level container and running commands. Apartment-bound, except `show`, which reads constants only.
class LevelImpl final : public ILevel
{
public:
    LevelImpl(std::shared_ptr<IXptTarget> target, std::shared_ptr<IXptStatus> status, const MappingNumbers& numbers);

    // ILevel
    bool isSame(const ILevel& other) const override;
    std::uint32_t take(std::uint32_t lprId, std::uint32_t controllerInput, std::uint32_t controllerOutput,
                       std::uint32_t when) override;
    std::uint32_t setOutputLPR(std::uint32_t controllerOutput, std::uint32_t lprCommand, std::uint32_t lprId,
                               std::uint32_t when) override;
    std::uint32_t getOutputStatus(std::uint32_t controllerOutput, std::uint32_t& controllerInput,
                                  std::uint32_t& lprState, std::uint32_t& lprId) override;
    void getOutputStatuses(std::uint32_t firstOutput, std::span<OutputStatus> statuses) override;
    void getOutputStatuses(std::uint32_t firstOutput, std::span<OutputSource> sources) override;
    void beginOutputChanges(std::uint32_t connectionIndex) override;
    bool getNextOutputChange(std::uint32_t& statusResult, std::uint32_t& controllerOutput,
                             std::uint32_t& controllerInput, std::uint32_t& lprState, std::uint32_t& lprId) override;
    void noteSourceChange(std::uint32_t xptOutput) override;
    void noteLprChange(std::uint32_t xptOutput) override;
    void notifyNewConnection(std::uint32_t connectionIndex) override;
    void show() const override;

private:
    /// `done` when all crosspoints of an output show consecutive sources, the first of which is known.
    std::uint32_t checkGroup(std::uint32_t xptOutput, std::uint32_t xptInput) const;
    /// Fills an `OutputStatus` or an `OutputSource` for each of consecutive outputs.
    template <typename Entry>
    void readOutputs(std::uint32_t firstOutput, std::span<Entry> entries);
    /// The same for those that all are in the block, one crosspoint each, from that crosspoint on.
    template <typename Entry>
    void readCrosspoints(std::uint32_t xptOutput, std::span<Entry> entries) const;

    const std::shared_ptr<IXptTarget> m_target;
    const std::shared_ptr<IXptStatus> m_status;
    const Mapping m_mapping;
    LevelOutputChanges m_changes;
    log4cxx::LoggerPtr m_logger;
};
