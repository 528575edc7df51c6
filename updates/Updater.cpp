#include "Updater.h"
