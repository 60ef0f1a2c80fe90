# Copies HEADERS, paths below SOURCES, and all that they include to STAGED/tervolanda.  In the source
# tree an include is written "room/header.h"; in the copies "tervolanda/room/header.h", so that none
# of them can meet a header of the program that uses the library.
file(REMOVE_RECURSE ${STAGED})
while(HEADERS)
    list(POP_FRONT HEADERS header)
    if(EXISTS ${STAGED}/tervolanda/${header})
        continue()
    endif()
    file(READ ${SOURCES}/${header} text)
    string(REGEX MATCHALL "#include \"[^\"]+" included "${text}")
    list(TRANSFORM included REPLACE "#include \"" "")
    list(APPEND HEADERS ${included})
    string(REPLACE "#include \"" "#include \"tervolanda/" text "${text}")
    file(WRITE ${STAGED}/tervolanda/${header} "${text}")
endwhile()
