// Result codes of the camera framework: every framework and node operation returns one.
#pragma once

#include <cstdint>

typedef int32_t LumResult;

static const LumResult LumResultSuccess = 0;
static const LumResult LumResultEFailed = 1;
static const LumResult LumResultEUnsupported = 2;
static const LumResult LumResultEInvalidState = 3;
static const LumResult LumResultEInvalidArg = 4;
static const LumResult LumResultEInvalidPointer = 5;
static const LumResult LumResultENoSuch = 6;
static const LumResult LumResultEOutOfBounds = 7;
static const LumResult LumResultENoMemory = 8;
static const LumResult LumResultETimeout = 9;
static const LumResult LumResultENoMore = 10;
static const LumResult LumResultENeedMore = 11;
static const LumResult LumResultEExists = 12;
static const LumResult LumResultEPrivLevel = 13;
static const LumResult LumResultEResource = 14;
static const LumResult LumResultEUnableToLoad = 15;
static const LumResult LumResultEInProgress = 16;
static const LumResult LumResultETryAgain = 17;
static const LumResult LumResultEBusy = 18;
static const LumResult LumResultEReentered = 19;
static const LumResult LumResultEReadOnly = 20;
static const LumResult LumResultEOverflow = 21;
static const LumResult LumResultEOutOfDomain = 22;
static const LumResult LumResultEInterrupted = 23;
static const LumResult LumResultEWouldBlock = 24;
static const LumResult LumResultETooManyUsers = 25;
static const LumResult LumResultENotImplemented = 26;
static const LumResult LumResultEDisabled = 27;
static const LumResult LumResultECancelledRequest = 28;
static const LumResult LumResultECoreNullMetadata = 29;
static const LumResult LumResultEInducedError = 30;
static const LumResult LumResultEFenceGroupError = 31;
static const LumResult LumResultECSLStreamOn = 32;
static const LumResult LumResultEAlreadyCompleted = 33;
static const LumResult LumResultEOEMStatus1 = 34;
static const LumResult LumResultEOEMStatus2 = 35;
static const LumResult LumResultEOEMStatus3 = 36;
static const LumResult LumResultEProviderNotExist = 37;
static const LumResult LumResultCount = 38;
