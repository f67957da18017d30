# SQLite::SQLite3: the system's, or built from the sqlite3.c of KVX_SQLITE_SOURCE where the system has none for what is built.
set(KVX_SQLITE_SOURCE "" CACHE PATH "Folder with sqlite3.c and sqlite3.h (tools/fetch_sqlite.sh makes one)")
if(NOT KVX_SQLITE_SOURCE)
  find_package(SQLite3 REQUIRED)
  return()
endif()
if(NOT EXISTS ${KVX_SQLITE_SOURCE}/sqlite3.c)
  message(FATAL_ERROR "There is no sqlite3.c in ${KVX_SQLITE_SOURCE}: tools/fetch_sqlite.sh ${KVX_SQLITE_SOURCE} puts it there.")
endif()

enable_language(C)
add_library(kvx_sqlite STATIC ${KVX_SQLITE_SOURCE}/sqlite3.c)
target_include_directories(kvx_sqlite SYSTEM PUBLIC ${KVX_SQLITE_SOURCE})
add_library(SQLite::SQLite3 ALIAS kvx_sqlite)
