# The build (kfresources) and the validator name a resource fault alike: at the line of the source
# file that holds it. -DKFHOST -DKFRESOURCES -DBUNDLE (a built bundle) -DSOURCES (its resource
# folder) -DPATCH (a folder of faulty resource files) -DWORK
file(REMOVE_RECURSE ${WORK})
file(COPY ${SOURCES}/ ${PATCH}/ DESTINATION ${WORK}/sources)
get_filename_component(name ${BUNDLE} NAME_WE)
set(bundle ${WORK}/${name}.bundle)
file(MAKE_DIRECTORY ${bundle})
file(COPY ${BUNDLE}/${name}.so DESTINATION ${bundle})

execute_process(COMMAND ${KFRESOURCES} --out ${bundle}/Resources ${WORK}/sources
  RESULT_VARIABLE rc OUTPUT_VARIABLE built ERROR_VARIABLE built)
set(item "${WORK}/sources/dialogs.res:4: error: dialog 32600 item 2 (150 10 80 20) lies outside the dialog's 200 x 100")
string(FIND "${built}" "${item}" at)
if(rc EQUAL 0 OR at EQUAL -1)
  message(FATAL_ERROR "kfresources answered ${rc} without naming the item at its line:\n${built}")
endif()

execute_process(COMMAND ${KFHOST} validate --only bundle --seed 1 ${bundle}
  RESULT_VARIABLE rc OUTPUT_VARIABLE validated ERROR_VARIABLE validated)
set(item "${WORK}/sources/dialogs.res:4: dialog 32600 item 2 (150 10 80 20) lies outside the dialog's 200 x 100")
string(FIND "${validated}" "${item}" at)
if(NOT rc EQUAL 1 OR at EQUAL -1)
  message(FATAL_ERROR "kfhost validate answered ${rc} without naming the source's line:\n${validated}")
endif()
