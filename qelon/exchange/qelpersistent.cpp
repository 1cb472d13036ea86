// The one way every persistent object writes itself as a tag.
#include "qelon/exchange/qeliexchange.h"

void TPersistent::WriteComp(IQelExchange* exchange, const std::string& tagName) {
  exchange->StartTag(tagName);
  WriteValues(exchange);
  exchange->EndTag();
}
