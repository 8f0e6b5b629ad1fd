#include "support/RowListModel.h"
