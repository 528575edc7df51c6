#include "LibreOfficeInstaller.h"
