// Every attribute client class in one include.
#pragma once

#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"
