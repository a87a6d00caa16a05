#pragma once

/// AMBREL_API marks what the host library shows to its users. A build of the library itself defines
/// AMBREL_BUILD; everybody else imports.
#if defined(_WIN32)
#if defined(AMBREL_BUILD)
#define AMBREL_API __declspec(dllexport)
#else
#define AMBREL_API __declspec(dllimport)
#endif
#else
#define AMBREL_API __attribute__((visibility("default")))
#endif
