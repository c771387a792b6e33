// Marks what the services library shows to the effect and to applications.
#pragma once

#define ZELK_SERVICES_API __attribute__((visibility("default")))
