// String ids of the resource library. Help strings of the type library are numbered from
// 30000 by the build, the texts of the Properties palette from 20000 to 29999.
#pragma once

#define IDS_DUPLICATE_RECORD_NAME 10000
#define IDS_ERROR_UNKNOWN 10001
#define IDS_KEYWORD_BYLAYER 11482
#define IDS_KEYWORD_BYBLOCK 11483
#define IDS_ENTITY_SECTION_SYMBOL 14645
#define IDS_ENTITY_DETAIL_SYMBOL 14646
#define IDS_ENTITY_PROXY 14721
#define IDS_ENTITY_LIGHT 14722
#define IDS_ENTITY_VOICE_NOTE 14723
#define IDS_ERROR_POLYFACE_MESH 24
