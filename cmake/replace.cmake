# cmake -D FILE=... -D NEW=... -P replace.cmake: NEW takes FILE's place in one step, so that nobody reads half of it; where
# they are the same FILE keeps its time.
if(EXISTS ${FILE})
  file(SHA256 ${FILE} is)
endif()
file(SHA256 ${NEW} will_be)
if("${is}" STREQUAL will_be)
  file(REMOVE ${NEW})
else()
  file(RENAME ${NEW} ${FILE})
endif()
