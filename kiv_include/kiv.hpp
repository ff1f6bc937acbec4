// KIV Library: the umbrella header. Includes every public header of the
// library but kiv_icu.hpp, which needs ICU's own headers; a program may
// include the family headers it needs instead.
#ifndef KIV_HPP
#define KIV_HPP

#include "kiv_config.hpp"
#include "kiv_argv.hpp"
#include "kiv_base.hpp"
#include "kiv_bitarray.hpp"
#include "kiv_ccsid.hpp"
#include "kiv_conui.hpp"
#include "kiv_conuiparams.hpp"
#include "kiv_converter.hpp"
#include "kiv_cursor.hpp"
#include "kiv_directory.hpp"
#include "kiv_dirwalk.hpp"
#include "kiv_dll.hpp"
#include "kiv_envvar.hpp"
#include "kiv_error.hpp"
#include "kiv_errorids.hpp"
#include "kiv_exefile.hpp"
#include "kiv_exception.hpp"
#include "kiv_file.hpp"
#include "kiv_fileabase.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inisave.hpp"
#include "kiv_language.hpp"
#include "kiv_location.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_pathprop.hpp"
#include "kiv_process.hpp"
#include "kiv_random.hpp"
#include "kiv_strep.hpp"
#include "kiv_strmatch.hpp"
#include "kiv_usage.hpp"

#endif
