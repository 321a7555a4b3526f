// VOperator: an operator chosen by name at run time. The application fills
// input slots by position or by parameter name, calls Execute and reads the
// output slots. Slot numbers count from 1 in all four directions, also for
// control parameters.
#ifndef VEXAOBJ_VOPERATOR_H
#define VEXAOBJ_VOPERATOR_H

#include <vexaobj/VTuple.h>
#include <vexaobj/Vobject.h>

namespace Vexa {

class VOperator {
 public:
  // Looks the operator up and reads the number and names of its
  // parameters. An unknown name raises "Operator %s does not exist!".
  VOperator(const char* op_name);
  VOperator(char* op_name) : VOperator(static_cast<const char*>(op_name)) {}
  VOperator(const VOperator& other);
  VOperator& operator=(const VOperator& other);
  ~VOperator();

  void SetInputObject(int num, const Vobject& obj);
  void SetInputObject(const char* name, const Vobject& obj);
  const Vobject& GetOutputObject(int num) const;
  const Vobject& GetOutputObject(const char* name) const;
  void SetInputCtrl(int num, const VTuple& ctrl);
  void SetInputCtrl(const char* name, const VTuple& ctrl);
  const VTuple& GetOutputCtrl(int num) const;
  const VTuple& GetOutputCtrl(const char* name) const;

  Vobject* GetInpObj() { return inp_obj; }
  Vobject* GetOutpObj() { return outp_obj; }
  VTuple* GetInpCtrl() { return inp_ctrl; }
  VTuple* GetOutpCtrl() { return outp_ctrl; }

  int GetInpObjNumber() const { return _inp_obj_num; }
  int GetOutpObjNumber() const { return _outp_obj_num; }
  int GetInpCtrlNumber() const { return _inp_ctrl_num; }
  int GetOutpCtrlNumber() const { return _outp_ctrl_num; }
  const char* GetOperatorName() const { return op_name; }
  int GetOperatorNumber() const { return op_number; }

  // Runs the operator as a procedural function would and returns the
  // result code. The output slots then hold what the operator produced;
  // the input slots stay for the next run.
  unsigned int Execute();

 private:
  // The largest parameter counts of any operator.
  static constexpr int kObjSlots = 9;
  static constexpr int kCtrlSlots = 20;

  // Position of `name` in `names`, from 1; 0 when absent.
  static int Search_Number(const char* name, const VTuple& names);
  void CopyOperator(const VOperator& other);

  Vobject inp_obj[kObjSlots];
  Vobject outp_obj[kObjSlots];
  VTuple inp_ctrl[kCtrlSlots];
  VTuple outp_ctrl[kCtrlSlots];
  VTuple inp_obj_names;
  VTuple outp_obj_names;
  VTuple inp_ctrl_names;
  VTuple outp_ctrl_names;
  int _inp_obj_num;
  int _outp_obj_num;
  int _inp_ctrl_num;
  int _outp_ctrl_num;
  char* op_name;
  int op_number;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VOPERATOR_H
