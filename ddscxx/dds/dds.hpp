#pragma once

// The part of the standard C++ interface to DDS that this project uses, over the C interface of Cyclone DDS.

#include "dds/core/Exception.hpp"
#include "dds/core/Reference.hpp"
#include "dds/core/Status.hpp"
#include "dds/core/Time.hpp"
#include "dds/core/policy/CorePolicy.hpp"
#include "dds/domain/DomainParticipant.hpp"
#include "dds/pub/DataWriter.hpp"
#include "dds/pub/WriteBatch.hpp"
#include "dds/sub/BuiltinReader.hpp"
#include "dds/sub/DataReader.hpp"
#include "dds/sub/Sample.hpp"
#include "dds/topic/Topic.hpp"
