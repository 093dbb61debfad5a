#include "description/SystemLoader.h"

#include "description/DSPElementFactory.h"
#include "description/NewParser.h"
#include "dsp/chains/ChainFusion.h"

#include <memory>
#include <sstream>

namespace nodara {

void loadSystem(Driver& driver, std::istream& document, const PluginFactoryList& plugins) {
    std::ostringstream text;
    text << document.rdbuf();
    NewParser parser;
    for (const auto& factory : plugins) {
        parser.getElementFactory()->addPluginFactory(factory);
    }
    parser.parse(text.str());
    driver.setFusion(std::make_shared<ChainFusion>());
    driver.init(parser.getLayout());
}

} // namespace nodara
