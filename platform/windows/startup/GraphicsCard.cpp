#include "platform/GraphicsCard.h"

bool hasGraphicsCard(const QString& /*deviceFolder*/) {
    return true;
}
