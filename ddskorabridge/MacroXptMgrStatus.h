#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TypedTopics.h"
#include "ddskorabridge/IXptStatus.h"
#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/MacroXptTable.h"
#include "ddskorabridge/RouterMembers.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

/// The routes and lock states of one signal type that the router reports as in force; tells the levels which outputs
/// changed. Owned by the Director, shared by the levels. Apartment-bound. Failures of the bus leave as the bus layer's
/// exceptions.
class MacroXptMgrStatus : public com::tallowcrest::routing::MacroXptOutputSub,
                          public IPartitionBound,
                          public IXptStatus,
                          public IXptTable
{
public:
    using Sample = com::tallowcrest::dds_::routing::MacroXptOutput;
    using LPRState = com::tallowcrest::dds_::routing::LPRState;

    /// `maxOutput` is the greatest macro output number; `levels` are those of the same signal type.
    MacroXptMgrStatus(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment, std::uint32_t maxOutput,
                      const std::string& statusTopic, std::shared_ptr<LevelContainer> levels);

    /// Moves into the partition, whose status then refills the table.
    void joinRouterPartition(const std::string& routerPartition) override;
    /// Moves out of every router's partition; the table stays.
    void leaveRouterPartition() override;

    // IXptStatus
    std::uint32_t getStatus(std::uint32_t output, std::uint32_t& input, LPRState& lprState,
                            std::uint32_t& lprId) const override;
    std::span<const Sample> records(std::uint32_t firstOutput, std::size_t count) const override;

    // IXptTable
    std::string table(std::uint32_t first, std::uint32_t last) const override;
    /// Prints the same to the console.
    void show(std::uint32_t first, std::uint32_t last) const;

    // DataReaderListenerHandler
    void onDataAvailable() override;

private:
    void onStatus(const Sample& sample);
    void onStatusLost(const Sample& sample);
    void printInvalid(const Sample& sample) const;

    std::string m_routerPartition; ///< empty until joined
    const std::shared_ptr<LevelContainer> m_levels;
    MacroXptTable m_status;
    log4cxx::LoggerPtr m_logger;
};
