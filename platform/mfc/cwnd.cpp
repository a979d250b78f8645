// CWnd: its class.
#include "platform/mfc/cwnd.h"

namespace kvtmfc {

IMPLEMENT_DYNCREATE(CWnd, CObject)

}  // namespace kvtmfc
