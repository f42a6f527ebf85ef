// error_log_counter.h: the fuzz programs' own zelLogging_log. It counts the
// error records (level 2 and more severe) and writes nothing, so that the
// error line of every undecryptable input does not flood the fuzzer's
// output. Defining it replaces the logging library's for the process.
#ifndef ZEL_TESTS_FUZZ_ERROR_LOG_COUNTER_H
#define ZEL_TESTS_FUZZ_ERROR_LOG_COUNTER_H

// TakeErrorLogCount returns the number of error records since the last call.
unsigned TakeErrorLogCount();

#endif  // ZEL_TESTS_FUZZ_ERROR_LOG_COUNTER_H
