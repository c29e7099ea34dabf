# Writes the bill of materials of an installation, in SPDX 2.3:
#
#     cmake -DTO=kavril.spdx.json -DVERSION=1.0.0 -DHEADERS="CLI11 2.1.2 BSD-3-Clause;..."
#           -DBUNDLED=bundled.json -P spdx.cmake
#
# HEADERS are libraries whose headers are compiled into the program; BUNDLED, which may be
# empty, names the packages of JavaScript in its reports. Its date is SOURCE_DATE_EPOCH.
string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)
set(packages "")
set(relationships "")

function(add_package name version licence relation locator)
  string(REGEX REPLACE "[^A-Za-z0-9.]+" "-" id "SPDXRef-${name}")
  string(REPLACE "SPDXRef--" "SPDXRef-" id ${id})
  set(external "")
  if(locator)
    set(external ", \"externalRefs\": [{\"referenceCategory\": \"PACKAGE-MANAGER\",
      \"referenceType\": \"purl\", \"referenceLocator\": \"${locator}\"}]")
  endif()
  list(APPEND packages "    {\"SPDXID\": \"${id}\", \"name\": \"${name}\", \"versionInfo\": \"${version}\",
      \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false,
      \"licenseConcluded\": \"${licence}\", \"licenseDeclared\": \"${licence}\",
      \"copyrightText\": \"NOASSERTION\"${external}}")
  set(from SPDXRef-KAVRIL)
  if(relation STREQUAL "DESCRIBES")
    set(from SPDXRef-DOCUMENT)
  endif()
  list(APPEND relationships "    {\"spdxElementId\": \"${from}\", \"relationshipType\": \"${relation}\", \"relatedSpdxElement\": \"${id}\"}")
  set(packages "${packages}" PARENT_SCOPE)
  set(relationships "${relationships}" PARENT_SCOPE)
endfunction()

add_package(KAVRIL ${VERSION} Apache-2.0 DESCRIBES "")
foreach(header IN LISTS HEADERS)
  separate_arguments(fields UNIX_COMMAND ${header})
  list(GET fields 0 name)
  list(GET fields 1 version)
  list(GET fields 2 licence)
  add_package(${name} ${version} ${licence} CONTAINS "")
endforeach()
if(BUNDLED)
  file(READ ${BUNDLED} bundled)
  string(JSON count LENGTH ${bundled})
  math(EXPR last "${count} - 1")
  foreach(i RANGE ${last})
    foreach(field name version license)
      string(JSON ${field} GET ${bundled} ${i} ${field})
    endforeach()
    string(REPLACE "@" "%40" escaped ${name})
    add_package(${name} ${version} ${license} CONTAINS "pkg:npm/${escaped}@${version}")
  endforeach()
endif()

list(JOIN packages ",\n" packages)
list(JOIN relationships ",\n" relationships)
file(WRITE ${TO} "{
  \"spdxVersion\": \"SPDX-2.3\",
  \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"dataLicense\": \"CC0-1.0\",
  \"name\": \"KAVRIL ${VERSION}\",
  \"documentNamespace\": \"https://kavril.invalid/spdx/${VERSION}\",
  \"creationInfo\": {\"created\": \"${created}\", \"creators\": [\"Tool: kavril-cmake\"]},
  \"packages\": [
${packages}
  ],
  \"relationships\": [
${relationships}
  ]
}
")
