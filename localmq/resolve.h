#pragma once

// Queue names: what a name that an application opens stands for, through alias and remote definitions and models.

#include <string>

#include "localmq/connection.h"

namespace localmq {

struct Resolution {
  Queue Named;         // the definition that was named; of type MQQT_MODEL when a dynamic queue has to be made
  Destination Target;  // where its messages are
};

// Resolves a name for an open with these options, as the published interface does. Blank names are empty texts.
MQLONG ResolveQueue(Connection& connection, const std::string& name, const std::string& queueManager, MQLONG options,
                    Resolution& resolution);

// Makes a queue from the model that was resolved, and makes it the resolution. In `wanted` a final "*" stands for
// characters that make the name unique.
MQLONG MakeDynamicQueue(Connection& connection, const std::string& wanted, Resolution& resolution);

}  // namespace localmq
