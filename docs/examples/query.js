// Prints what a query returns, as WMI writes it:
//
//   cscript //nologo query.js "SELECT * FROM Velk_PCIDevice WHERE VendorID = 32902 AND BusNumber = 0"
if (WScript.Arguments.length != 1) {
    WScript.Echo("usage: query.js QUERY");
    WScript.Quit(2);
}
var locator = new ActiveXObject("WbemScripting.SWbemLocator");
var services = locator.ConnectServer(".", "root\\VKQ");
var instances = services.ExecQuery(WScript.Arguments.Item(0));
var count = instances.Count;
for (var i = 0; i < count; i++) {
    WScript.Echo(instances.ItemIndex(i).GetObjectText_());
}
